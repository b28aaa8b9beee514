#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string_view>

/// Each target defines it: it goes through one text, and ends the program where a rule does not hold.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace mox {

inline std::string_view TextOf(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

inline void Require(bool holds, const char* rule) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", rule);
  std::abort();
}

}  // namespace mox
