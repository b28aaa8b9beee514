#include "mox/foundation/currency.h"

#include <gtest/gtest.h>

#include <limits>

#include "case_file.h"

namespace mox {
namespace {

TEST(Currency, ReadsTextsExactly) {
  ForEachCase<2>("currency", "texts", [](auto& text, auto& scaled) {
    EXPECT_EQ(TextOrError([&] { return Currency::Parse(text).scaled(); }), scaled);
  });
}

TEST(Currency, TakesTheNearestTenThousandthOfARealNumber) {
  ForEachCase<2>("currency", "real numbers", [](auto& number, auto& scaled) {
    EXPECT_EQ(TextOrError([&] { return Currency::FromReal(std::stold(number)).scaled(); }), scaled);
  });
  // A double is taken exactly as it is: 0.00125 and the neighbours of 1/32 lie beside a tie.
  EXPECT_EQ(Currency::FromReal(0.00125).scaled(), 13);
  EXPECT_EQ(Currency::FromReal(0x1.fffffffffffffp-6).scaled(), 312);
  EXPECT_EQ(Currency::FromReal(0x1.0000000000001p-5).scaled(), 313);
}

TEST(Currency, RefusesResultsOutsideItsRange) {
  const Currency greatest = Currency::FromScaled(std::numeric_limits<std::int64_t>::max());
  const Currency least = Currency::FromScaled(std::numeric_limits<std::int64_t>::min());
  const Currency one = Currency::FromScaled(1);
  EXPECT_EQ(greatest + least, -one);
  EXPECT_EQ(least + greatest - least, greatest);
  EXPECT_THROW(least - one, Overflow);
  EXPECT_THROW(-least, Overflow);
  EXPECT_EQ(Currency::FromUnits(-922'337'203'685'477).scaled(), -9'223'372'036'854'770'000);
  EXPECT_THROW(Currency::FromUnits(922'337'203'685'478), Overflow);
  Currency sum = greatest;
  EXPECT_THROW(sum += one, Overflow);
  EXPECT_EQ(sum, greatest);
}

TEST(Currency, CutsToUnitsAndCentsAndShowsTwoToFourDecimals) {
  ForEachCase<4>("currency", "shown", [](auto& scaled, auto& units, auto& cents, auto& text) {
    const Currency value = Currency::FromScaled(std::stoll(scaled));
    EXPECT_EQ(std::to_string(value.ToUnits()), units);
    EXPECT_EQ(std::to_string(value.ToCents()), cents);
    EXPECT_EQ(value.ToString(), text);
    EXPECT_EQ(Currency::Parse(text), value);
  });
}

}  // namespace
}  // namespace mox
