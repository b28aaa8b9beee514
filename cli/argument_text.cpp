#include "cli/argument_text.h"

#include <limits>

#include "cli/command.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

template <typename Parse>
auto Parsed(std::string_view name, Parse parse) {
  try {
    return parse();
  } catch (const Error& error) {
    throw UsageError(std::string(name) + ": " + error.what());
  }
}

}  // namespace

int IntegerArgument(std::string_view name, std::string_view text) {
  return Parsed(name, [text] {
    const std::int64_t value = ParseInteger(text);
    if (value < std::numeric_limits<int>::min() || value > std::numeric_limits<int>::max()) {
      throw Overflow("\"" + std::string(text) + "\" is too large");
    }
    return static_cast<int>(value);
  });
}

double NumberArgument(std::string_view name, std::string_view text) {
  return Parsed(name, [text] { return ParseNumber(text); });
}

Currency CurrencyArgument(std::string_view name, std::string_view text) {
  return Parsed(name, [text] { return Currency::Parse(text); });
}

bool BooleanArgument(std::string_view name, std::string_view text) {
  if (text != "true" && text != "false") {
    throw UsageError(std::string(name) + ": \"" + std::string(text) + "\" is not true or false");
  }
  return text == "true";
}

DateTime DateTimeArgument(std::string_view name, std::string_view text) {
  if (const auto moment = ParseIsoDateTime(text)) return *moment;
  throw UsageError(std::string(name) + ": \"" + std::string(text) + "\" is not a date");
}

}  // namespace mox
