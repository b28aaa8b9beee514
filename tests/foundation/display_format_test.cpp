#include "mox/foundation/display_format.h"

#include <gtest/gtest.h>

#include "case_file.h"

namespace mox {
namespace {

TEST(FormatFloat, ShowsNumbersByTheirMask) {
  ForEachCase<3>("display_format", "masks", [](auto& mask, auto& value, auto& shown) {
    const double number = std::strtod(value.c_str(), nullptr);
    EXPECT_EQ(TextOrError([&] { return FormatFloat(mask, number, LocaleSettings()); }), shown);
  });
}

TEST(FormatFloat, ShowsCurrencyExactlyWithTheSeparatorsOfTheLocale) {
  LocaleSettings swiss;
  swiss.decimal_separator = ".";
  swiss.thousands_separator = "’";
  ForEachCase<2>("display_format", "currency", [&](auto& scaled, auto& shown) {
    const Currency value = Currency::FromScaled(std::stoll(scaled));
    EXPECT_EQ(FormatFloat("#,0.00;-#,0.00", value, swiss), shown);
  });
}

}  // namespace
}  // namespace mox
