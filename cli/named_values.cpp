#include "cli/named_values.h"

#include <algorithm>
#include <cctype>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/suggestions.h"

namespace mox {

std::optional<NamedValue> ParseNamedValue(std::string_view text) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  const std::string_view name = text.substr(0, equals);
  const bool is_name = !name.empty() && std::all_of(name.begin(), name.end(), [](unsigned char c) {
    return std::isalnum(c) != 0 || c == '_';
  });
  if (!is_name) return std::nullopt;
  return NamedValue{std::string(name), std::string(text.substr(equals + 1))};
}

ValuesAndFiles SplitWords(std::span<const std::string> words) {
  ValuesAndFiles split;
  for (const std::string& word : words) {
    if (auto value = ParseNamedValue(word)) {
      split.values.push_back(std::move(*value));
    } else {
      split.paths.push_back(word);
    }
  }
  return split;
}

const std::string* FindValue(std::span<const NamedValue> values, std::string_view name) {
  for (const NamedValue& value : values) {
    if (value.name == name) return &value.value;
  }
  return nullptr;
}

void CheckNamedValues(std::string_view function, std::span<const NamedArgument> arguments,
                      std::span<const NamedValue> values) {
  for (std::size_t i = 0; i < values.size(); ++i) {
    const std::string& name = values[i].name;
    if (FindRow(arguments, name) == nullptr) {
      throw UsageError(std::string(function) + " has no argument \"" + name + "\"" +
                       DidYouMeanAmong(arguments, name));
    }
    if (values[i].value.empty()) throw UsageError(name + "= has no value");
    if (FindValue(values.subspan(i + 1), name) != nullptr) throw UsageError(name + "= is given twice");
    if (name == "Digits") IntegerArgument(name, values[i].value);
  }
  for (const NamedArgument& argument : arguments) {
    if (!argument.required || FindValue(values, argument.name) != nullptr) continue;
    throw UsageError(std::string(argument.name) + "= is required");
  }
}

std::string Signature(std::string_view function, std::span<const NamedArgument> arguments) {
  std::string text(function);
  for (const NamedArgument& argument : arguments) {
    const std::string value = std::string(argument.name) + "=" + std::string(argument.placeholder);
    text += argument.required ? " " + value : " [" + value + "]";
  }
  return text;
}

}  // namespace mox
