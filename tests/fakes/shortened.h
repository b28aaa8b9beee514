#pragma once

#include <cstddef>
#include <utility>

namespace mox {

/// The steps without all that can be left out, in ever smaller pieces, while they still fail.
template <typename Steps, typename Fails>
Steps Shortened(Steps steps, const Fails& fails) {
  for (std::size_t piece = steps.size() / 2; piece > 0; piece /= 2) {
    for (std::size_t at = 0; at + piece <= steps.size();) {
      Steps fewer = steps;
      const auto begin = fewer.begin() + static_cast<std::ptrdiff_t>(at);
      fewer.erase(begin, begin + static_cast<std::ptrdiff_t>(piece));
      if (fails(fewer)) {
        steps = std::move(fewer);
      } else {
        at += piece;
      }
    }
  }
  return steps;
}

}  // namespace mox
