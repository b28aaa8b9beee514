#include "mox/foundation/rounding.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();

TEST(Rounding, MyRoundMovesAHalfAwayFromZero) {
  const struct {
    double value;
    int digits;
    double rounded;
  } rows[] = {{2.675, -2, 2.68},
              {0.125, -2, 0.13},
              {0.005, -2, 0.01},
              {0.004999, -2, 0},
              {1.005, -2, 1.01},
              {18.225, -2, 18.23},
              {0.35, -2, 0.35},
              {1234567.885, -2, 1234567.89},
              {99999999.995, -2, 100000000.0},
              {1.5, 0, 2},
              {2.5, 0, 3},
              {0.49999995, 0, 1},  // within the nudge of a half
              {0.4999998, 0, 0},
              {0.25, -1, 0.3},
              {0.75, -1, 0.8},
              {1.0005, -3, 1.001},
              {1.00005, -4, 1.0001},
              {0.000005, -5, 0.00001},
              {0.0000005, -6, 0.000001},
              {1.2345674, -6, 1.234568},  // at this fineness the nudge is a tenth of a unit
              {1.2345673, -6, 1.234567},
              // the nudge is lost in large numbers: ties to even
              {8589934592.5, 0, 8589934592},
              {8589934593.5, 0, 8589934594},
              {46000000000000.0156, -2, 46000000000000.02},
              {1e16, -2, 1e16},
              {1e300, -6, 1e300},
              {std::numeric_limits<double>::max(), -22, std::numeric_limits<double>::max()},
              {std::numeric_limits<double>::denorm_min(), -2, 0},
              {0.3, std::numeric_limits<int>::min(), 0.3 + 1e-7},
              {0, -2, 0}};
  for (const auto& row : rows) {
    EXPECT_EQ(MyRound(row.value, row.digits), row.rounded) << row.value << " " << row.digits;
    EXPECT_EQ(MyRound(-row.value, row.digits), -row.rounded) << row.value << " " << row.digits;
  }
  EXPECT_FALSE(std::signbit(MyRound(-0.0, -2)));
  EXPECT_FALSE(std::signbit(MyRound(-0.004, -2)));
}

TEST(Rounding, RefusesTensAndWhatIsNotANumber) {
  for (const int digits : {1, 2, std::numeric_limits<int>::max()}) {
    try {
      MyRound(1, digits);
      ADD_FAILURE() << digits;
    } catch (const Error& error) {
      EXPECT_STREQ(error.what(), "Nepravilno pozivanje fukcije MyRound!!!!!!!");
    }
  }
  for (const double value : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_THROW(MyRound(value, -2), Overflow) << value;
    EXPECT_THROW(R2(Amount::OfUnits(value)), Overflow) << value;
    EXPECT_THROW(Round(Amount::OfUnits(value), 7), Overflow) << value;
    EXPECT_THROW(Stored(Amount::OfUnits(value)), Overflow) << value;
  }
  try {
    Round(Currency(), -1);
    ADD_FAILURE();
  } catch (const Error& error) {
    EXPECT_STREQ(error.what(), "Nepravilno pozivanje fukcije MyRound!!!!!!!");
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

TEST(Rounding, RoundsAmountsAndStoresThem) {
  const struct {
    Extended scaled;  // in ten-thousandths
    int decimals;
    std::int64_t rounded;
  } rows[] = {{26'750, 2, 26'800},
              {26'749.9991L, 2, 26'800},
              {26'749.9989L, 2, 26'700},
              {50, 2, 100},
              {49.99L, 2, 0},
              {15'000, 0, 20'000},
              {25'000, 0, 30'000},
              {24'999, 0, 20'000},
              {2'500, 1, 3'000},
              {25, 3, 30},
              {2.5L, 4, 3},
              {2.4985L, 4, 2},
              // decimals that a currency does not have: rounded there first, then stored, ties to even
              {2.5L, 5, 2},
              {3.5L, 5, 4},
              {2.55L, 5, 3},
              {2.54L, 5, 2},
              {2.5L, 6, 2},
              {2.5L, 7, 3},
              {2.4985L, 7, 2},
              {2.5L, 99, 3},
              // the range of a currency
              {kGreatest, 4, kGreatest},
              {kGreatest, 2, 9'223'372'036'854'775'800},
              {kGreatest, 7, kGreatest},
              {0x1p61L, 2, 2'305'843'009'213'694'000},
              {0, 2, 0}};
  for (const auto& row : rows) {
    const Amount amount = Amount::FromScaled(row.scaled);
    const Amount negative = Amount::FromScaled(-row.scaled);
    EXPECT_EQ(Round(amount, row.decimals).scaled(), row.rounded)
        << static_cast<double>(row.scaled) << " " << row.decimals;
    EXPECT_EQ(Round(negative, row.decimals).scaled(), -row.rounded)
        << static_cast<double>(row.scaled) << " " << row.decimals;
  }
  for (const int decimals : {4, 5, 30}) {
    EXPECT_EQ(Round(Currency::FromScaled(kLeast), decimals).scaled(), kLeast) << decimals;
  }
  EXPECT_THROW(Round(Currency::FromScaled(kGreatest), 0), Overflow);  // up, out of the range
  EXPECT_THROW(Round(Currency::FromScaled(kLeast), 1), Overflow);
  EXPECT_THROW(Round(Currency::FromScaled(kGreatest) * Real(2), 4), Overflow);
  EXPECT_EQ(R2(Amount::FromScaled(26'750)), Currency::FromScaled(26'800));
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
