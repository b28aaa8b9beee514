#include "mox/foundation/line_view.h"

#include <mutex>

namespace mox {

const LineNames* NotedNames::Note(const LineNames& names) {
  static std::mutex mutex;
  const std::scoped_lock lock(mutex);
  if (noted_.load(std::memory_order_relaxed) == nullptr) {
    names_ = names;
    noted_.store(&names_, std::memory_order_release);
  }
  return &names_;
}

}  // namespace mox
