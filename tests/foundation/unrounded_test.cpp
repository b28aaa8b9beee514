#include "mox/foundation/unrounded.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>

#include "tests/fakes/error_of.h"
#include "tests/fakes/how_many.h"

namespace mox {
namespace {

// The amounts and the number that a form is made of, and the decimals that it is rounded to.
struct Operation {
  Currency a;
  Currency b;
  double x = 0;
  int decimals = 2;
};

std::string Shown(const char* formula, const Operation& of) {
  return std::string(formula) + " with a " + of.a.ToString() + ", b " + of.b.ToString() + ", x " +
         std::to_string(of.x) + " to " + std::to_string(of.decimals) + " decimals";
}

// Every shape that the formulas of lines and recapitulations have: make(a, b, x), and solve(a, b, t), the x
// at which it comes to t ten-thousandths.
template <typename Visit>
void ForEachShape(Visit visit) {
  using E = Extended;
  visit(
      "a x", [](auto a, auto, auto x) { return a * x; }, [](E a, E, E t) { return t / a; });
  visit(
      "a x / 100", [](auto a, auto, auto x) { return a * x / 100; }, [](E a, E, E t) { return t * 100 / a; });
  visit(
      "a / x", [](auto a, auto, auto x) { return a / x; }, [](E a, E, E t) { return a / t; });
  visit(
      "a x / (x + 100)", [](auto a, auto, auto x) { return a * x / (x + 100); },
      [](E a, E, E t) { return 100 * t / (a - t); });
  visit(
      "a 100 / (x + 100)", [](auto a, auto, auto x) { return a * 100 / (x + 100); },
      [](E a, E, E t) { return 100 * a / t - 100; });
  visit(
      "a (1 - x / 100)", [](auto a, auto, auto x) { return a * (1 - x / 100); },
      [](E a, E, E t) { return 100 - 100 * t / a; });
  visit(
      "a - b x / 100", [](auto a, auto b, auto x) { return a - b * x / 100; },
      [](E a, E b, E t) { return (a - t) * 100 / b; });
  visit(
      "(a + a 25 / 100 + b) / x",
      [](auto a, auto b, auto x) { return (a + a * decltype(x)(25.0) / 100 + b) / x; },
      [](E a, E b, E t) { return (a + a * 25 / 100 + b) / t; });
  visit(
      "a / x (1 + 13 / 100)", [](auto a, auto, auto x) { return a / x * (1 + decltype(x)(13.0) / 100); },
      [](E a, E, E t) { return a * (1 + E(13) / 100) / t; });
  visit(
      "a x / x", [](auto a, auto, auto x) { return a * x * 3 / x; }, [](E a, E b, E) { return b / a; });
}

class Cases {
 public:
  int Pick(unsigned count) { return static_cast<int>(random_() % count); }

  /// Prices, amounts of documents and what no document has, of either sign.
  Currency Amount() {
    const std::uint64_t bits = random_();
    const std::int64_t size = [&]() -> std::int64_t {
      switch (Pick(4)) {
        case 0:
          return static_cast<std::int64_t>(bits % 5'000'000) * 100;
        case 1:
          return static_cast<std::int64_t>(bits % 20'000);
        case 2:
          return static_cast<std::int64_t>(bits % 10'000'000'000'000);
        default:
          return static_cast<std::int64_t>(bits >> (1 + Pick(62)));
      }
    }();
    return Currency::FromScaled(Pick(4) == 0 ? -size : size);
  }

  double Number() {
    constexpr double kOdd[] = {0,        -0.0,      25,     13,       5,      -100,
                               -50,      1e-80,     1e-300, 4.9e-324, 1e80,   1.7e308,
                               HUGE_VAL, -HUGE_VAL, NAN,    0x1p-60,  0x1p60, -99.99999999999999};
    switch (Pick(5)) {
      case 0:
        return Pick(12) + 1;
      case 1:
        return (Pick(100'000) - 5'000) / 1'000.0;
      case 2:
        return kOdd[Pick(std::size(kOdd))];
      case 3:
        return std::ldexp(Pick(1'000) + 1, Pick(80) - 40);
      default:
        return std::bit_cast<double>(random_());
    }
  }

  /// Ten-thousandths that the nudge moves onto a half of the last decimal.
  Extended BesideHalf(int decimals) {
    const Extended unit = std::pow(10.0L, 4 - decimals);
    const auto multiple = static_cast<Extended>(random_() >> (20 + Pick(42)));
    const Extended half = (multiple + 0.5L) * unit - 0.001L;
    return Pick(4) == 0 ? -half : half;
  }

 private:
  std::mt19937_64 random_{20'261};
};

// What rounding answers, or raises.
template <typename Rounding>
std::string Outcome(Rounding round) {
  std::string answer;
  const std::string error = ErrorOf([&] { answer = round().ToString(); });
  return answer + error;
}

std::int64_t CaseCount() { return HowMany("MOX_ROUNDINGS", 10'000); }

// With the bound for a roundoff: how many cases double decides, and how many of them wrongly.
struct Verdicts {
  std::int64_t certain = 0;
  std::int64_t wrong = 0;
};

template <typename MakeForm, typename Solve>
void ForEachHalf(Cases& cases, MakeForm make, Solve solve, auto visit) {
  for (int i = 0; i < CaseCount(); ++i) {
    Operation of{cases.Amount(), cases.Amount(), 0, cases.Pick(5)};
    const Extended half = cases.BesideHalf(of.decimals);
    const Extended x =
        solve(static_cast<Extended>(of.a.scaled()), static_cast<Extended>(of.b.scaled()), half);
    if (!(std::fabs(x) < 1e300L)) continue;
    const auto nearest = static_cast<double>(x);
    for (const double neighbour :
         {std::nextafter(nearest, -HUGE_VAL), nearest, std::nextafter(nearest, HUGE_VAL)}) {
      of.x = neighbour;
      visit(make(of.a, of.b, Number(neighbour)), of);
    }
  }
}

template <typename F>
void ExpectAsExactly(const char* formula, const F& form, const Operation& of) {
  const std::string exactly = Outcome([&] { return RoundExactly(form, of.decimals); });
  if (Outcome([&] { return Round(form, of.decimals); }) != exactly) {
    ADD_FAILURE() << Shown(formula, of) << " is not " << exactly;
  }
}

TEST(Unrounded, IsRoundedAsInExtendedPrecision) {
  Cases cases;
  ForEachShape([&](const char* formula, auto make, auto) {
    for (int i = 0; i < CaseCount() && !testing::Test::HasFailure(); ++i) {
      const Operation of{cases.Amount(), cases.Amount(), cases.Number(), cases.Pick(8) - 1};
      ExpectAsExactly(formula, make(of.a, of.b, Number(of.x)), of);
    }
  });
}

TEST(Unrounded, IsRoundedAsInExtendedPrecisionBesideAHalf) {
  Cases cases;
  ForEachShape([&](const char* formula, auto make, auto solve) {
    ForEachHalf(cases, make, solve, [&](const auto& form, const Operation& of) {
      if (!testing::Test::HasFailure()) ExpectAsExactly(formula, form, of);
    });
  });
}

// A bound that is too small lets double decide what it cannot know.
TEST(Unrounded, NeedsItsBound) {
  const auto verdicts = [](double roundoff) {
    Cases cases;
    Verdicts all;
    ForEachShape([&](const char*, auto make, auto solve) {
      ForEachHalf(cases, make, solve, [&](const auto& form, const Operation& of) {
        Currency rounded;
        if (std::fabs(form.Near()) > 0x1p62) return;  // no currency; only too small a bound would decide it
        if (!RoundInDouble(form, of.decimals, rounded, roundoff)) return;
        ++all.certain;
        const std::string exactly = Outcome([&] { return RoundExactly(form, of.decimals); });
        if (rounded.ToString() != exactly) ++all.wrong;
      });
    });
    return all;
  };
  const Verdicts proven = verdicts(0x1p-53);
  EXPECT_EQ(proven.wrong, 0);
  EXPECT_GT(proven.certain, 0);
  EXPECT_GT(verdicts(0x1p-56).wrong, 0);
}

TEST(Unrounded, LeavesOnlyDoubtfulCasesToExtendedPrecision) {
  const Currency price = Currency::FromScaled(99'900);
  Currency rounded;
  EXPECT_TRUE(RoundInDouble(price * Number(7), 2, rounded));
  EXPECT_EQ(rounded, Currency::FromScaled(699'300));
  EXPECT_TRUE(RoundInDouble(price * Number(1e-80), 2, rounded));
  EXPECT_EQ(rounded, Currency());
  // a half when nudged, the quotient by nothing, a sum that may have lost its last cents
  EXPECT_FALSE(RoundInDouble(Currency::FromScaled(499) / Number(1'000), 4, rounded));
  EXPECT_FALSE(RoundInDouble(price / Number(0), 2, rounded));
  EXPECT_FALSE(RoundInDouble(Currency::FromScaled(INT64_MAX) - price * Number(3), 2, rounded));
}

}  // namespace
}  // namespace mox
