#include "mox/foundation/rounding.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

#include "case_file.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

TEST(Rounding, MyRoundMovesAHalfAwayFromZero) {
  ForEachCase<3>("rounding", "MyRound", [](auto& number, auto& digits, auto& rounded) {
    const double value = std::strtod(number.c_str(), nullptr);
    const double expected = std::strtod(rounded.c_str(), nullptr);
    EXPECT_EQ(MyRound(value, std::stoi(digits)), expected);
    EXPECT_EQ(MyRound(-value, std::stoi(digits)), -expected);
  });
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

TEST(Rounding, RoundsAmountsAndStoresThem) {
  ForEachCase<3>("rounding", "amounts", [](auto& amount, auto& decimals, auto& rounded) {
    const Extended scaled = std::stold(amount);
    const auto round = [&](Extended value) {
      return TextOrError([&] { return Round(Amount::FromScaled(value), std::stoi(decimals)).scaled(); });
    };
    EXPECT_EQ(round(scaled), rounded);
    EXPECT_EQ(round(-scaled), std::isdigit(rounded[0]) != 0 && rounded != "0" ? "-" + rounded : rounded);
  });
  const Currency least = Currency::FromScaled(std::numeric_limits<std::int64_t>::min());
  for (const int kept : {4, 5, 30}) EXPECT_EQ(Round(least, kept), least) << kept;
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
