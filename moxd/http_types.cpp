#include "moxd/http_types.h"

namespace mox {

std::optional<ByteBudget::Lease> ByteBudget::Take(std::size_t bytes) {
  const auto wanted = static_cast<std::int64_t>(bytes);
  std::int64_t left = free_.load(std::memory_order_relaxed);
  while (left >= wanted) {
    if (free_.compare_exchange_weak(left, left - wanted, std::memory_order_relaxed)) {
      return Lease(this, wanted);
    }
  }
  return std::nullopt;
}

}  // namespace mox
