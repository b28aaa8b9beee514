#include "mox/foundation/locale_text.h"

#include <gtest/gtest.h>

#include <map>

#include "case_file.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

const LocaleSettings& Locale(const std::string& name) {
  static const std::map<std::string, LocaleSettings> locales = {
      {"hr", {}}, {"en", {".", ",", "M/d/yyyy", "$"}}, {"yy", {",", ".", "d.M.yy.", "KM"}}};
  return locales.at(name);
}

TEST(LocaleText, Numbers) {
  ForEachCase<4>("locale_text", "numbers", [](auto& locale, auto& text, auto& number, auto& scaled) {
    const auto read = ParseLocaleNumber(text, Locale(locale));
    EXPECT_EQ(read ? ShortestNumber(*read) : "none", number);
    const auto amount = TextOrError([&] {
      const auto currency = ParseLocaleCurrency(text, Locale(locale));
      return currency ? std::to_string(currency->scaled()) : "none";
    });
    EXPECT_EQ(amount, scaled);
  });
  EXPECT_EQ(NumberToText(-1234.5, Locale("hr")), "-1234,5");
  EXPECT_EQ(CurrencyToText(Currency::FromUnits(12), Locale("en")), "12.00");
}

TEST(LocaleText, DatesAndMoments) {
  ForEachCase<4>("locale_text", "dates", [](auto& locale, auto& text, auto& iso, auto& shown) {
    const auto date = ParseLocaleDate(text, Locale(locale));
    EXPECT_EQ(date ? FormatIsoDate(*date) : "none", iso);
    EXPECT_EQ(date ? DateToText(*date, Locale(locale)) : "none", shown);
  });
  ForEachCase<3>("locale_text", "moments", [](auto& text, auto& iso, auto& shown) {
    const auto moment = ParseLocaleDateTime(text, Locale("hr"));
    EXPECT_EQ(moment ? FormatIsoDateTime(*moment) : "none", iso);
    EXPECT_EQ(moment ? DateTimeToText(*moment, Locale("hr")) : "none", shown);
  });
}

}  // namespace
}  // namespace mox
