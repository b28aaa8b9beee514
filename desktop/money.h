#pragma once

#include <QString>
#include <optional>
#include <string>

#include "mox/foundation/currency.h"

namespace mox {

/// "1.250,00", as the locale writes it.
QString MoneyText(Currency amount);
/// An amount in whole cents, with or without what groups thousands; none where it is no such amount.
std::optional<Currency> ReadMoney(const QString& text);
/// A number as it was typed, without what groups its thousands: "1.250,00" and "1.250.000". Alone, "1.250"
/// stays as it is and is none: it may as well be a little more than one.
std::string WithoutGroups(const QString& typed);

}  // namespace mox
