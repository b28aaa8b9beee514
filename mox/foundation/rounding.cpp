#include "mox/foundation/rounding.h"

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

void RefuseTens(bool is_tens) {
  if (is_tens) throw Error("Nepravilno pozivanje fukcije MyRound!!!!!!!");
}

}  // namespace

double MyRound(double value, int digits) {
  RefuseTens(digits > 0);
  if (!std::isfinite(value)) throw Overflow("MyRound: the value is not finite");
  const double nudged = value > 0 ? value + 1e-7 : value < 0 ? value - 1e-7 : value;
  const double power =
      kPowersOfTen[static_cast<std::size_t>(digits < -kMostDecimals ? kMostDecimals : -digits)];
  const double scaled = nudged * power;
  // From 2^52 on a double has no fraction: the nudged value is already the nearest there is to a multiple.
  if (!(std::fabs(scaled) < 0x1p52)) return nudged;
  return std::rint(scaled) / power + 0.0;  // a negative zero becomes zero
}

Currency RoundSlowly(Extended nudged, int decimals) {
  RefuseTens(decimals < 0);
  const int used = decimals > kMostDecimals ? kMostDecimals : decimals;
  const Extended scaled = nudged * static_cast<Extended>(kPowersOfTen[static_cast<std::size_t>(used)]);
  // From 2^63 on not even the extended precision has a fraction.
  if (!(std::fabs(scaled) < 0x1p62L)) return Currency::FromReal(nudged);
  const std::int64_t multiple = NearestInteger(scaled);
  if (used <= 4) {
    std::int64_t result = multiple;
    for (int i = used; i < 4; ++i) {
      if (__builtin_mul_overflow(result, std::int64_t{10}, &result)) ThrowCurrencyOverflow();
    }
    return Currency::FromScaled(result);
  }
  std::int64_t unit = 1;
  for (int i = 4; i < used; ++i) unit *= 10;
  const std::int64_t quotient = multiple / unit;
  const std::int64_t rest = std::abs(multiple % unit);
  const bool away = rest * 2 > unit || (rest * 2 == unit && quotient % 2 != 0);
  return Currency::FromScaled(quotient + (away ? (multiple < 0 ? -1 : 1) : 0));
}

}  // namespace mox
