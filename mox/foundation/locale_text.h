#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/app.h"
#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"

namespace mox {

// Numbers and dates as the locale writes them: its decimal separator without grouping, its short date. Blanks
// around a text are ignored on reading. None means that the text is not such a number or date.

std::string NumberToText(double value, const LocaleSettings& locale);
std::string CurrencyToText(Currency value, const LocaleSettings& locale);
std::string DateToText(Date date, const LocaleSettings& locale);
/// The date and "hh:mm:ss"; midnight is the date alone.
std::string DateTimeToText(DateTime moment, const LocaleSettings& locale);

std::optional<double> ParseLocaleNumber(std::string_view text, const LocaleSettings& locale);
/// Exact, rounded to the nearest ten-thousandth, ties to even. Raises Overflow.
std::optional<Currency> ParseLocaleCurrency(std::string_view text, const LocaleSettings& locale);
/// Day and month with one or two digits, the year with four (or two where the pattern has "yy": 2000 to
/// 2049, 1950 to 1999); a dot after the last part is allowed.
std::optional<Date> ParseLocaleDate(std::string_view text, const LocaleSettings& locale);
std::optional<DateTime> ParseLocaleDateTime(std::string_view text, const LocaleSettings& locale);

}  // namespace mox
