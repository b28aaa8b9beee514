#pragma once

#include "paper/page.h"
#include "paper/page_source.h"

namespace mox {

/// Fills the tables of goods and services; answers the discounts that lines with a percent of discount give.
Currency FillTables(const PageSource& source, const PaperTemplate& paper, DocumentPage& page);

/// An amount with two to four decimals, in groups of thousands.
std::string AmountText(Currency amount, const LocaleSettings& locale);

/// An exchange rate with all of its decimals, never with an exponent.
std::string RateText(double rate, const LocaleSettings& locale);

/// A percent with up to four decimals, without a sign.
std::string PercentText(double percent, const LocaleSettings& locale);

}  // namespace mox
