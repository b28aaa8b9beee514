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
  EXPECT_EQ(NumberToText(1e300, kCroatian), "1e+300");
  EXPECT_EQ(CurrencyToText(Currency::FromScaled(-5), kCroatian), "-0,0005");
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
  EXPECT_THROW(ParseLocaleNumber("1e400", kCroatian), Overflow);
  EXPECT_THROW(ParseLocaleCurrency("922337203685477,5808", kCroatian), Overflow);
}

TEST(LocaleText, Dates) {
  const struct {
    const LocaleSettings& locale;
    const char* text;
    const char* iso;  // "" is no date
  } rows[] = {{kCroatian, "01.03.2024", "2024-03-01"},
              {kCroatian, "1.3.2024", "2024-03-01"},
              {kCroatian, " 01.03.2024. ", "2024-03-01"},
              {kCroatian, "29.02.2024", "2024-02-29"},
              {kCroatian, "01.01.0001", "0001-01-01"},
              {kCroatian, "31.12.9999", "9999-12-31"},
              {kCroatian, "29.02.2023", ""},
              {kCroatian, "01.13.2024", ""},
              {kCroatian, "01.03.24", ""},
              {kCroatian, "01.03.20241", ""},
              {kCroatian, "01.03.2024..", ""},
              {kCroatian, "001.03.2024", ""},
              {kCroatian, "01/03/2024", ""},
              {kCroatian, "01.03.", ""},
              {kCroatian, "", ""},
              {kEnglish, "3/1/2024", "2024-03-01"},
              {kEnglish, "13/1/2024", ""},
              {kShortYear, "1.3.49", "2049-03-01"},
              {kShortYear, "1.3.50.", "1950-03-01"},
              {kShortYear, "1.3.1949.", "1949-03-01"}};
  for (const auto& row : rows) {
    const auto date = ParseLocaleDate(row.text, row.locale);
    EXPECT_EQ(date ? FormatIsoDate(*date) : "", row.iso) << row.text;
    EXPECT_EQ(ParseLocaleDateTime(row.text, row.locale).has_value(), date.has_value()) << row.text;
    if (date && &row.locale != &kShortYear) {
      EXPECT_EQ(ParseLocaleDate(DateToText(*date, row.locale), row.locale), date) << row.text;
    }
  }
  EXPECT_EQ(DateToText(*MakeDate(2024, 3, 1), kEnglish), "3/1/2024");
  EXPECT_EQ(DateToText(*MakeDate(2004, 3, 1), kShortYear), "1.3.04.");
}

TEST(LocaleText, Moments) {
  const struct {
    const char* text;
    const char* iso;
    const char* shown;
  } rows[] = {{"01.03.2024 09:05:07", "2024-03-01T09:05:07", "01.03.2024 09:05:07"},
              {"1.3.2024. 09:05", "2024-03-01T09:05:00", "01.03.2024 09:05:00"},
              {"01.03.2024 00:00:00", "2024-03-01T00:00:00", "01.03.2024"},
              {"01.03.2024", "2024-03-01T00:00:00", "01.03.2024"},
              {"31.12.1969 23:59:59", "1969-12-31T23:59:59", "31.12.1969 23:59:59"}};
  for (const auto& row : rows) {
    const auto moment = ParseLocaleDateTime(row.text, kCroatian);
    ASSERT_TRUE(moment) << row.text;
    EXPECT_EQ(FormatIsoDateTime(*moment), row.iso);
    EXPECT_EQ(DateTimeToText(*moment, kCroatian), row.shown);
  }
  for (const char* text :
       {"01.03.2024 24:00", "01.03.2024 9", "01.03.202409:05", "09:05", "01.03.2024 09:05 x"}) {
    EXPECT_FALSE(ParseLocaleDateTime(text, kCroatian)) << text;
  }
}

}  // namespace
}  // namespace mox
