#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// An argument of a function that is given by its name: "Digits=2".
struct NamedArgument {
  std::string_view name;
  bool required = true;
  std::string_view placeholder = "FIELD";  ///< stands for the value where the function is listed
};

struct NamedValue {
  std::string name;
  std::string value;
};

/// Splits "NAME=VALUE". None where the text does not begin with a name and '='.
std::optional<NamedValue> ParseNamedValue(std::string_view text);

/// The named values among the words of a command; the others are files.
struct ValuesAndFiles {
  std::vector<NamedValue> values;
  std::vector<std::string> paths;
};
ValuesAndFiles SplitWords(std::span<const std::string> words);

/// Null where it is not given.
const std::string* FindValue(std::span<const NamedValue> values, std::string_view name);

/// Raises UsageError for a value whose argument the function does not have, one given twice, an empty one,
/// Digits other than a whole number, and for a required one that is missing.
void CheckNamedValues(std::string_view function, std::span<const NamedArgument> arguments,
                      std::span<const NamedValue> values);

/// `FillPDVDataPovDob RateField=FIELD [Digits=N]`
std::string Signature(std::string_view function, std::span<const NamedArgument> arguments);

}  // namespace mox
