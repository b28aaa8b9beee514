#pragma once

#include "mox/foundation/rounding.h"

namespace mox {

inline constexpr Extended kRoundingNudge = 0.0000001L;

/// Round where the general case is not the usual one: refused digits, more than four decimals, huge amounts.
Currency RoundSlowly(Extended nudged, int decimals);

inline Currency Round(Real value, int decimals) {
  static constexpr Extended kPower[] = {1.0L, 10.0L, 100.0L, 1'000.0L, 10'000.0L};
  static constexpr std::int64_t kToScaled[] = {10'000, 1'000, 100, 10, 1};
  const Extended x = value.value();
  const Extended nudged = x + (x > 0 ? kRoundingNudge : x < 0 ? -kRoundingNudge : 0.0L);
  if (static_cast<unsigned>(decimals) > 4U || !(std::fabs(nudged) < 4e14L)) [[unlikely]] {
    return RoundSlowly(nudged, decimals);
  }
  const auto index = static_cast<unsigned>(decimals);
  return Currency::FromScaled(NearestInteger(nudged * kPower[index]) * kToScaled[index]);
}

inline Currency R2(Real value) { return Round(value, 2); }

}  // namespace mox
