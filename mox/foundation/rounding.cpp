#include "mox/foundation/rounding.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace mox {
namespace {

constexpr int kMostDecimals = 22;  // 10^22 is the greatest power of ten that a double holds exactly

constexpr std::array<double, kMostDecimals + 1> kPowersOfTen = [] {
  std::array<double, kMostDecimals + 1> powers{};
  double power = 1.0;
  for (double& entry : powers) {
    entry = power;
    power *= 10.0;
  }
  return powers;
}();

[[noreturn]] void RefuseTens() { throw Error("Nepravilno pozivanje fukcije MyRound!!!!!!!"); }

}  // namespace

double MyRound(double value, int digits) {
  if (digits > 0) RefuseTens();
  if (!std::isfinite(value)) throw Overflow("MyRound: the value is not finite");
  const double nudged = value > 0 ? value + 1e-7 : value < 0 ? value - 1e-7 : value;
  const double power =
      kPowersOfTen[static_cast<std::size_t>(digits < -kMostDecimals ? kMostDecimals : -digits)];
  const double scaled = nudged * power;
  // From 2^53 on doubles lie further apart than multiples: the nudged value is the nearest there is to one.
  if (!(std::fabs(scaled) < 0x1p53)) return nudged;
  return std::rint(scaled) / power + 0.0;  // a negative zero becomes zero
}

Currency RoundSlowly(Amount amount, int decimals) {
  if (decimals < 0) RefuseTens();
  const Extended scaled = amount.scaled();
  const Extended nudged = scaled > 0 ? scaled + kNudge : scaled < 0 ? scaled - kNudge : scaled;
  if (decimals <= 4) {
    const auto unit = static_cast<std::int64_t>(kPowersOfTen[static_cast<std::size_t>(4 - decimals)]);
    const Extended multiple = std::rint(nudged / static_cast<Extended>(unit));
    return Currency::FromScaledReal(multiple * static_cast<Extended>(unit));
  }
  const int finer = std::min(decimals, kMostDecimals) - 4;
  const Extended power = kPowersOfTen[static_cast<std::size_t>(finer)];
  const Extended multiples = nudged * power;
  // From 2^63 on not even the extended precision has a fraction.
  if (!(std::fabs(multiples) < 0x1p62L)) return Currency::FromScaledReal(nudged);
  const std::int64_t multiple = NearestInteger(multiples);
  const auto unit = static_cast<std::int64_t>(power);
  const std::int64_t quotient = multiple / unit;
  const std::int64_t rest = std::abs(multiple % unit);
  const bool away = rest * 2 > unit || (rest * 2 == unit && quotient % 2 != 0);
  return Currency::FromScaled(quotient + (away ? (multiple < 0 ? -1 : 1) : 0));
}

}  // namespace mox
