#pragma once

#include <cmath>
#include <cstdint>

namespace mox {

/// Stock is counted in whole millionths of an article's unit, so that sums are exact.
inline constexpr std::int64_t kQuantityScale = 1'000'000;

/// A line's quantity in millionths, rounded half away from 0. It is to be below 1e9 units.
inline std::int64_t CountedQuantity(double quantity) {
  return std::llround(quantity * static_cast<double>(kQuantityScale));
}

}  // namespace mox
