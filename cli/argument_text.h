#pragma once

#include <string>
#include <string_view>

#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"

namespace mox {

// Values among the arguments of a command. All raise UsageError that names the argument.

int IntegerArgument(std::string_view name, std::string_view text);
double NumberArgument(std::string_view name, std::string_view text);
Currency CurrencyArgument(std::string_view name, std::string_view text);
/// "true" or "false".
bool BooleanArgument(std::string_view name, std::string_view text);
/// A date, which is its midnight, or a moment, both in ISO form.
DateTime DateTimeArgument(std::string_view name, std::string_view text);

}  // namespace mox
