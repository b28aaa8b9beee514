#pragma once

#include <cstddef>
#include <unordered_map>
#include <vector>

namespace mox {

/// Figures of each rate of tax, in order of first appearance. A document has a handful of rates, and lines of
/// one rate follow each other; one that had thousands is no slower line by line. `Figures` has a `rate`.
template <typename Figures>
class ByRate {
 public:
  Figures& Of(double rate) {
    if (last_ == all_.size() || all_[last_].rate != rate) last_ = PlaceOf(rate);
    return all_[last_];
  }
  std::vector<Figures>& All() { return all_; }
  const std::vector<Figures>& All() const { return all_; }

 private:
  static constexpr std::size_t kFew = 16;

  std::size_t PlaceOf(double rate) {
    if (all_.size() <= kFew) {
      for (std::size_t i = 0; i < all_.size(); ++i) {
        if (all_[i].rate == rate) return i;
      }
    } else if (const auto found = places_.find(rate); found != places_.end()) {
      return found->second;
    }
    all_.emplace_back().rate = rate;
    if (all_.size() > kFew) {
      for (std::size_t i = places_.size(); i < all_.size(); ++i) places_.emplace(all_[i].rate, i);
    }
    return all_.size() - 1;
  }

  std::vector<Figures> all_;
  std::unordered_map<double, std::size_t> places_;  // of more than a few
  std::size_t last_ = 0;
};

}  // namespace mox
