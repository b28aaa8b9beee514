#include "mox/foundation/locale_text.h"

#include <gtest/gtest.h>

#include "mox/foundation/error.h"

namespace mox {
namespace {

const LocaleSettings kCroatian;
const LocaleSettings kEnglish{".", ",", "M/d/yyyy", "$"};
const LocaleSettings kShortYear{",", ".", "d.M.yy.", "KM"};

TEST(LocaleText, Numbers) {
  EXPECT_EQ(NumberToText(-1234.5, kCroatian), "-1234,5");
  EXPECT_EQ(CurrencyToText(Currency::FromUnits(12), kEnglish), "12.00");
  EXPECT_EQ(ParseLocaleNumber(" -1234,5\t", kCroatian), -1234.5);
  EXPECT_EQ(ParseLocaleNumber("1234.5", kEnglish), 1234.5);
  EXPECT_EQ(ParseLocaleCurrency("0,00015", kCroatian), Currency::FromScaled(2)) << "exact, ties to even";
  EXPECT_EQ(ParseLocaleCurrency("922337203685477,5807", kCroatian)->scaled(), 9'223'372'036'854'775'807);
  for (const char* text : {"", "1234.5", "1.234,5", "1,2,3", "12,5 kn", "- 1", "12,5%"}) {
    EXPECT_FALSE(ParseLocaleNumber(text, kCroatian)) << text;
    EXPECT_FALSE(ParseLocaleCurrency(text, kCroatian)) << text;
  }
  EXPECT_FALSE(ParseLocaleNumber("1,234.5", kEnglish));
  EXPECT_THROW(ParseLocaleCurrency("922337203685477,5808", kCroatian), Overflow);
}

TEST(LocaleText, DatesAndMoments) {
  const struct {
    const LocaleSettings& locale;
    const char* text;
    const char* shown;  // as the locale writes it; "" is no date
  } rows[] = {{kCroatian, "1.3.2024", "01.03.2024"},
              {kCroatian, " 01.03.2024. ", "01.03.2024"},
              {kCroatian, "29.02.2024", "29.02.2024"},
              {kCroatian, "01.01.0001", "01.01.0001"},
              {kCroatian, "31.12.9999", "31.12.9999"},
              {kCroatian, "29.02.2023", ""},
              {kCroatian, "01.13.2024", ""},
              {kCroatian, "01.03.24", ""},
              {kCroatian, "01.03.20241", ""},
              {kCroatian, "01.03.2024..", ""},
              {kCroatian, "001.03.2024", ""},
              {kCroatian, "01/03/2024", ""},
              {kCroatian, "01.03.", ""},
              {kCroatian, "", ""},
              {kEnglish, "03/01/2024", "3/1/2024"},
              {kEnglish, "13/1/2024", ""},
              {kShortYear, "1.3.2049", "1.3.49."},
              {kShortYear, "1.3.50", "1.3.50."},
              {kShortYear, "01.03.04.", "1.3.04."}};
  for (const auto& row : rows) {
    const auto date = ParseLocaleDate(row.text, row.locale);
    EXPECT_EQ(date ? DateToText(*date, row.locale) : "", row.shown) << row.text;
    EXPECT_EQ(ParseLocaleDateTime(row.text, row.locale), date ? std::optional(StartOf(*date)) : std::nullopt);
  }
  EXPECT_EQ(ParseLocaleDate("1.3.49", kShortYear), MakeDate(2049, 3, 1));
  EXPECT_EQ(ParseLocaleDate("1.3.50", kShortYear), MakeDate(1950, 3, 1));
  for (const std::string text : {"01.03.2024 09:05:07", "31.12.1969 23:59:59", "01.03.2024"}) {
    EXPECT_EQ(DateTimeToText(ParseLocaleDateTime(text, kCroatian).value_or(DateTime()), kCroatian), text);
  }
  EXPECT_EQ(ParseLocaleDateTime("1.3.2024. 09:05", kCroatian), ParseIsoDateTime("2024-03-01T09:05:00"));
  for (const char* text :
       {"01.03.2024 24:00", "01.03.2024 9", "01.03.202409:05", "09:05", "1.3.2024 9:05 x"}) {
    EXPECT_FALSE(ParseLocaleDateTime(text, kCroatian)) << text;
  }
}

}  // namespace
}  // namespace mox
