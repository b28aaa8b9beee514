#pragma once

#include "mox/foundation/rounding.h"

namespace mox {

inline constexpr Extended kNudge = 0.001L;  ///< 0.0000001 in ten-thousandths

/// Round where the general case is not the usual one: refused digits, more than four decimals, huge amounts.
Currency RoundSlowly(Amount amount, int decimals);

MOX_ALWAYS_INLINE Currency Stored(Amount amount) { return Currency::FromScaledReal(amount.scaled()); }

MOX_ALWAYS_INLINE Currency Round(Amount amount, int decimals) {
  static constexpr Extended kUnit[] = {10'000.0L, 1'000.0L, 100.0L, 10.0L, 1.0L};
  static constexpr std::int64_t kScaledUnit[] = {10'000, 1'000, 100, 10, 1};
  const auto index = static_cast<unsigned>(decimals);
  const Extended scaled = amount.scaled();
  if (index > 4U || !(std::fabs(scaled) < 0x1p61L)) [[unlikely]]
    return RoundSlowly(amount, decimals);
  const Extended nudged = scaled < 0 ? scaled - kNudge : scaled + kNudge;  // on 0 it is rounded off again
  return Currency::FromScaled(NearestInteger(nudged / kUnit[index]) * kScaledUnit[index]);
}

MOX_ALWAYS_INLINE Currency R2(Amount amount) { return Round(amount, 2); }

}  // namespace mox
