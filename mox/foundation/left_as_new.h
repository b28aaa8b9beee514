#pragma once

#include <utility>

namespace mox {

/// A part of an object that moving leaves as new, so that what it was taken from can be used again.
template <typename Part>
struct LeftAsNew : Part {
  using Part::operator=;
  LeftAsNew() = default;
  ~LeftAsNew() = default;
  LeftAsNew(LeftAsNew&& other) noexcept : Part(std::exchange(static_cast<Part&>(other), Part())) {}
  LeftAsNew& operator=(LeftAsNew&& other) noexcept {
    Part::operator=(std::exchange(static_cast<Part&>(other), Part()));
    return *this;
  }
  LeftAsNew(const LeftAsNew&) = delete;
  LeftAsNew& operator=(const LeftAsNew&) = delete;
};

}  // namespace mox
