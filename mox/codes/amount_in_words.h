#pragma once

#include <string>
#include <string_view>

#include "mox/foundation/currency.h"

namespace mox {

/// An amount in Croatian words, as invoices and payment orders show it: "dvadeset jedan euro i jedan cent".
/// The codes are "HRK" and "EUR", in capitals. The third and fourth decimal are cut off.
///
/// The words are prescribed and not those of a grammar: the form of a noun follows the last digit alone
/// ("jedanaest euro", "dvanaest kune"). Empty for zero, for negative amounts, for more than nine digits of
/// whole units and for any other code.
std::string BrojSlovima(Currency amount, std::string_view currency_code);

}  // namespace mox
