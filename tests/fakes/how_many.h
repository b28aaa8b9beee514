#pragma once

#include <cstdint>
#include <cstdlib>

namespace mox {

/// As many as the environment says; where it says nothing, what a quick run has time for.
inline std::int64_t HowMany(const char* variable, std::int64_t of_quick_run) {
  const char* const asked = std::getenv(variable);
  return asked == nullptr ? of_quick_run : std::atoll(asked);
}

}  // namespace mox
