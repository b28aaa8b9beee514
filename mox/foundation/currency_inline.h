#pragma once

#include <cmath>
#include <cstring>
#include <limits>

#include "mox/foundation/currency.h"

namespace mox {

MOX_ALWAYS_INLINE std::int64_t NearestInteger(Extended value) {
  if constexpr (std::numeric_limits<Extended>::digits == 64) {
    // Adding 1.5 * 2^63 leaves no room for a fraction, so the addition itself rounds to nearest, ties to
    // even, and the integer stands in the low bits of the mantissa. A library call would cost three times
    // the whole line formula around it.
    constexpr Extended kBias = 0x1.8p63L;
    const Extended biased = value + kBias;
    std::uint64_t mantissa = 0;
    std::memcpy(&mantissa, &biased, sizeof mantissa);
    return static_cast<std::int64_t>(mantissa - 0xC000'0000'0000'0000U);
  } else {
    return std::llrint(value);
  }
}

inline Currency Currency::FromScaledReal(Extended scaled) {
  if (!(std::fabs(scaled) < 0x1p62L)) [[unlikely]] {
    const Extended whole = std::rint(scaled);
    if (!(whole >= -0x1p63L && whole < 0x1p63L)) ThrowCurrencyOverflow();
    return Currency(static_cast<std::int64_t>(whole));
  }
  return Currency(NearestInteger(scaled));
}

inline Currency Currency::FromReal(Extended value) {
  return FromScaledReal(value * static_cast<Extended>(kScale));
}

inline Currency Currency::FromReal(double value) { return FromReal(static_cast<Extended>(value)); }

}  // namespace mox
