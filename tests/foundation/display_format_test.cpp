#include "mox/foundation/display_format.h"

#include <gtest/gtest.h>

#include <limits>

#include "mox/foundation/error.h"

namespace mox {
namespace {

TEST(FormatFloat, ShowsNumbersByTheirMask) {
  const struct {
    const char* mask;
    double value;
    const char* shown;
  } rows[] = {{"#,0.00;-#,0.00", 1234.5, "1.234,50"},
              {"#,0.00;-#,0.00", -1234.5, "-1.234,50"},
              {"#,0.00;-#,0.00", 0, "0,00"},
              {"#,0.00;-#,0.00", -0.004, "0,00"},  // no minus sign before a zero
              {"#,0.00;-#,0.00", 1e23, "100.000.000.000.000.000.000.000,00"},
              {"#,0.000;-#,0.000", 0.0005, "0,001"},
              {"#,0.;-#,0.", 1234567.5, "1.234.568"},  // no separator after the last digit
              {"#,0.;-#,0.", -0.5, "-1"},
              {",0.00%;-,0.00%", 25, "25,00%"},
              // rounding: half away from zero, on the decimal text
              {"0.00", 2.675, "2,68"},
              {"0.00", -2.675, "-2,68"},
              {"0.00", 1.005, "1,01"},
              {"0.00", 0.0049999, "0,00"},
              {"0.00", 0.0005, "0,00"},
              {"0.0", 0.05, "0,1"},
              {"#,##0.00", 999999.995, "1.000.000,00"},
              // places
              {"0.0##", 2.5, "2,5"},
              {"0.0##", 2.50004, "2,5"},
              {"0.##", 3, "3"},
              {"#.00", 0.5, ",50"},
              {"#.##", 0, ""},
              {"000", 5, "005"},
              {"0#", 5, "05"},
              {"0,000", 5, "0.005"},
              {"00-00", 12345, "123-45"},
              {"00-00", 7, "00-07"},
              {"kn .00", 12.345, "kn 12,35"},
              {"#,0.00,", 1234.5, "1.234,50"},
              {"0.0.0", 1.25, "1,25"},
              // sections
              {"0.00;(0.0);'nula'", -1.26, "(1,3)"},
              {"0.00;(0.0);'nula'", -0.04, "nula"},
              {"0.00;(0.0);'nula'", 0.004, "nula"},
              {"0.00;(0.0);", 0, "0,00"},
              {"0.00;;'nula'", -5, "-5,00"},
              {"0;-0;''", 0, ""},
              {"", -1234.5, "-1234,5"},
              {";-0.0", 1234.5, "1234,5"},
              // literals
              {"\"a;0,.#'\"0", 3, "a;0,.#'3"},
              {"'kom' 0 \"kg", 3, "kom 3 kg"},
              {"#,0.00", 5e-324, "0,00"}};
  const LocaleSettings croatian;
  for (const auto& row : rows) {
    EXPECT_EQ(FormatFloat(row.mask, row.value, croatian), row.shown) << row.mask << " " << row.value;
  }
  EXPECT_THROW(FormatFloat("0", std::numeric_limits<double>::infinity(), croatian), Overflow);
}

TEST(FormatFloat, ShowsCurrencyExactlyWithTheSeparatorsOfTheLocale) {
  LocaleSettings swiss;
  swiss.decimal_separator = ".";
  swiss.thousands_separator = "’";
  const struct {
    std::int64_t scaled;
    const char* shown;
  } rows[] = {{12'345'650, "1’234.57"},
              {-50, "-0.01"},
              {-49, "0.00"},
              {-9'999'950, "-1’000.00"},
              {std::numeric_limits<std::int64_t>::max(), "922’337’203’685’477.58"},
              {std::numeric_limits<std::int64_t>::min(), "-922’337’203’685’477.58"}};
  for (const auto& row : rows) {
    EXPECT_EQ(FormatFloat("#,0.00;-#,0.00", Currency::FromScaled(row.scaled), swiss), row.shown);
  }
}

}  // namespace
}  // namespace mox
