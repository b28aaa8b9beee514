#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

#include "case_file.h"
#include "mox/foundation/currency.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

// An amount has one dimension: amounts are not multiplied with each other.
template <typename A, typename B>
concept Multiplied = requires(A a, B b) {
  a* b;
};
static_assert(Multiplied<Amount, Real> && Multiplied<Currency, Real>);
static_assert(!Multiplied<Amount, Amount> && !Multiplied<Currency, Currency>);
static_assert(!Multiplied<Currency, Amount> && !Multiplied<Amount, Currency>);

TEST(Currency, ReadsConvertsAndShows) {
  ExpectTables(
      "currency",
      {{"texts", [](auto& row) { return Text(Currency::Parse(row.at(0)).scaled()); }},
       {"real numbers", [](auto& row) { return Text(Currency::FromReal(std::stold(row.at(0))).scaled()); }},
       {"shown", [](auto& row) {
          const Currency value = Currency::FromScaled(std::stoll(row.at(0)));
          EXPECT_EQ(Currency::Parse(value.ToString()), value);
          return Text(value.ToUnits()) + " " + Text(value.ToCents()) + " " + value.ToString();
        }}});
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

TEST(Rounding, MovesAHalfAwayFromZeroOnBothSides) {
  ExpectTables("rounding", {{"MyRound",
                             [](auto& row) {
                               const double value = std::strtod(row.at(0).c_str(), nullptr);
                               const double rounded = MyRound(value, std::stoi(row.at(1)));
                               EXPECT_EQ(MyRound(-value, std::stoi(row.at(1))), -rounded);
                               return ShortestNumber(rounded);
                             }},
                            {"amounts", [](auto& row) {
                               const Extended scaled = std::stold(row.at(0));
                               const auto round = [&](Extended value) {
                                 return Round(Amount::FromScaled(value), std::stoi(row.at(1))).scaled();
                               };
                               EXPECT_EQ(TextOrError([&] { return Text(-round(-scaled)); }),
                                         TextOrError([&] { return Text(round(scaled)); }));
                               return Text(round(scaled));
                             }}});
  EXPECT_FALSE(std::signbit(MyRound(-0.0, -2)));
  EXPECT_FALSE(std::signbit(MyRound(-0.004, -2)));
  const Currency least = Currency::FromScaled(std::numeric_limits<std::int64_t>::min());
  for (const int kept : {4, 5, 30}) EXPECT_EQ(Round(least, kept), least) << kept;
  EXPECT_EQ(R2(Amount::FromScaled(26'750)).scaled(), 26'800);
  EXPECT_EQ(Stored(Amount::FromScaled(2.5L)).scaled(), 2);
  EXPECT_EQ(Stored(Amount::FromScaled(-3.5L)).scaled(), -4);
}

TEST(Rounding, RefusesTensAndWhatIsNotANumber) {
  const auto refused = testing::ThrowsMessage<Error>("Nepravilno pozivanje fukcije MyRound!!!!!!!");
  EXPECT_THAT([] { MyRound(1, 1); }, refused);
  EXPECT_THAT([] { Round(Currency(), -1); }, refused);
  for (const double value : {HUGE_VAL, -HUGE_VAL, std::nan("")}) {
    EXPECT_ERROR(MyRound(value, -2), "!Overflow MyRound: the value is not finite") << value;
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
  EXPECT_ERROR((Real(1e300) * Real(1e300)).ToDouble(),
               "!Overflow result is outside the range of a floating-point number");
}

}  // namespace
}  // namespace mox
