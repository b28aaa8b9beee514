#include "mox/foundation/rounding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

// Rows are "value digits rounded".
TEST(Rounding, MyRoundMovesAHalfAwayFromZero) {
  std::istringstream rows(
      // halves
      " 2.675 -2 2.68  0.125 -2 0.13  0.005 -2 0.01  1.005 -2 1.01  0.35 -2 0.35  18.225 -2 18.23"
      " 1234567.885 -2 1234567.89  99999999.995 -2 100000000  1.5 0 2  2.5 0 3  0.25 -1 0.3  0.75 -1 0.8"
      " 1.0005 -3 1.001  1.00005 -4 1.0001  0.000005 -5 0.00001  0.0000005 -6 0.000001"
      // what lies within the nudge of a half, and what does not
      " 0.49999995 0 1  0.4999998 0 0  0.004999 -2 0  1.2345674 -6 1.234568  1.2345673 -6 1.234567"
      // the nudge is lost in large numbers: ties to even
      " 8589934592.5 0 8589934592  8589934593.5 0 8589934594  46000000000000.0156 -2 46000000000000.02"
      " 1e16 -2 1e16  1e300 -6 1e300  0 -2 0");
  double value = 0;
  int digits = 0;
  double rounded = 0;
  while (rows >> value >> digits >> rounded) {
    EXPECT_EQ(MyRound(value, digits), rounded) << value << " " << digits;
    EXPECT_EQ(MyRound(-value, digits), -rounded) << value << " " << digits;
  }
  EXPECT_TRUE(rows.eof());
  EXPECT_EQ(MyRound(DBL_MAX, -22), DBL_MAX);
  EXPECT_EQ(MyRound(DBL_TRUE_MIN, -2), 0);
  EXPECT_EQ(MyRound(0.3, INT_MIN), 0.3 + 1e-7);
  EXPECT_FALSE(std::signbit(MyRound(-0.0, -2)));
  EXPECT_FALSE(std::signbit(MyRound(-0.004, -2)));
}

TEST(Rounding, RefusesTensAndWhatIsNotANumber) {
  const auto refused = testing::ThrowsMessage<Error>("Nepravilno pozivanje fukcije MyRound!!!!!!!");
  EXPECT_THAT([] { MyRound(1, 1); }, refused);
  EXPECT_THAT([] { Round(Currency(), -1); }, refused);
  for (const double value : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_THROW(MyRound(value, -2), Overflow) << value;
    EXPECT_THROW(R2(Amount::OfUnits(value)), Overflow) << value;
    EXPECT_THROW(Round(Amount::OfUnits(value), 7), Overflow) << value;
    EXPECT_THROW(Stored(Amount::OfUnits(value)), Overflow) << value;
  }
}

TEST(Rounding, MyRoundGivesTheDoubleNearestToItsDecimal) {
  std::mt19937_64 random(1);
  std::uniform_int_distribution<std::int64_t> whole(0, 1'000'000'000);
  std::uniform_real_distribution<double> aside(-0.35, 0.35);
  for (int i = 0; i < 50'000; ++i) {
    const int decimals = i % 7;
    std::string text = std::to_string(whole(random));
    if (text.size() <= 6U) text.insert(0, 7 - text.size(), '0');
    if (decimals > 0) text.insert(text.size() - static_cast<std::size_t>(decimals), ".");
    const double nearest = ParseNumber(text);
    const double value = nearest + aside(random) * std::pow(10.0, -decimals);
    ASSERT_EQ(MyRound(value, -decimals), nearest) << text;
  }
}

// Rows are "amount decimals rounded", the amounts in ten-thousandths.
TEST(Rounding, RoundsAmountsAndStoresThem) {
  std::istringstream rows(
      " 26750 2 26800  26749.9991 2 26800  26749.9989 2 26700  50 2 100  49.99 2 0  15000 0 20000"
      " 25000 0 30000  24999 0 20000  2500 1 3000  25 3 30  2.5 4 3  2.4985 4 2"
      // decimals that a currency does not have: rounded there first and then stored, ties to even
      " 2.5 5 2  3.5 5 4  2.55 5 3  2.54 5 2  2.5 6 2  2.5 7 3  2.4985 7 2  2.5 99 3"
      " 9223372036854775807 4 9223372036854775807  9223372036854775807 7 9223372036854775807"
      " 2305843009213693952 2 2305843009213694000");
  Extended scaled = 0;
  int decimals = 0;
  std::int64_t rounded = 0;
  while (rows >> scaled >> decimals >> rounded) {
    const auto shown = static_cast<double>(scaled);
    EXPECT_EQ(Round(Amount::FromScaled(scaled), decimals).scaled(), rounded) << shown << " " << decimals;
    EXPECT_EQ(Round(Amount::FromScaled(-scaled), decimals).scaled(), -rounded) << shown << " " << decimals;
  }
  EXPECT_TRUE(rows.eof());
  for (const int kept : {4, 5, 30}) {
    EXPECT_EQ(Round(Currency::FromScaled(kLeast), kept).scaled(), kLeast) << kept;
  }
  EXPECT_THROW(Round(Currency::FromScaled(kGreatest), 0), Overflow);
  EXPECT_THROW(Round(Currency::FromScaled(kLeast), 1), Overflow);
  EXPECT_EQ(R2(Amount::FromScaled(26'750)).scaled(), 26'800);
  EXPECT_EQ(Stored(Amount::FromScaled(2.5L)).scaled(), 2);
  EXPECT_EQ(Stored(Amount::FromScaled(-3.5L)).scaled(), -4);
}

TEST(Rounding, AgreesOnAmountsAndNumbers) {
  std::mt19937_64 random(2);
  std::uniform_int_distribution<std::int64_t> millionths(-2'000'000'000'000, 2'000'000'000'000);
  for (int i = 0; i < 100'000; ++i) {
    // Every other one is a tie of some decimal place.
    const std::int64_t drawn = millionths(random);
    const double value = static_cast<double>(i % 2 == 0 ? drawn : drawn / 50 * 50) / 1e6;
    for (int decimals = 0; decimals <= 4; ++decimals) {
      ASSERT_EQ(Round(Amount::OfUnits(value), decimals), Currency::FromReal(MyRound(value, -decimals)))
          << ShortestNumber(value) << " " << decimals;
    }
  }
}

TEST(Rounding, QuotientsCheckTheirDivisor) {
  const Amount amount = Currency::FromUnits(75);
  EXPECT_EQ(R2(amount / Real(3)).scaled(), 250'000);
  EXPECT_EQ((Amount(Currency::FromUnits(30)) / amount * Real(100)).ToDouble(), 40.0);
  EXPECT_THROW(Real(0) / Real(-0.0), DivisionByZero);
  EXPECT_THROW(amount / Real(0), DivisionByZero);
  EXPECT_THROW(amount / Amount(Currency()), DivisionByZero);
  EXPECT_THROW((Real(1e300) * Real(1e300)).ToDouble(), Overflow);
}

}  // namespace
}  // namespace mox
