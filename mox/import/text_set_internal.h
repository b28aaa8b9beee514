#pragma once

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#pragma GCC visibility push(hidden)

namespace mox {

/// A set of texts for many look-ups. A slot is eight bytes, the texts lie one behind the other in one buffer:
/// a look-up touches two places in memory, and one where the text is not there.
class TextSet {
 public:
  bool IsEmpty() const { return count_ == 0; }

  void Insert(std::string_view text) {
    if ((count_ + 1) * 2 > slots_.size()) Grow();
    const std::uint64_t hash = HashOf(text);
    std::uint64_t& slot = slots_[Find(text, hash)];
    if (slot != 0) return;
    slot = (hash & kTag) | (pool_.size() + 1);
    const std::uint64_t size = text.size();
    pool_.append(reinterpret_cast<const char*>(&size), sizeof size).append(text);
    ++count_;
  }

  bool Contains(std::string_view text) const { return Contains(text, HashOf(text)); }

  // The same in three steps, for whoever has something else to do while memory is read: the hash of the text,
  // which asks for its slot; then the text in that slot is asked for; then both are there.
  std::uint64_t AskForSlot(std::string_view text) const {
    const std::uint64_t hash = HashOf(text);
    if (count_ > 0) __builtin_prefetch(&slots_[hash & (slots_.size() - 1)]);
    return hash;
  }
  void AskForText(std::uint64_t hash) const {
    const std::uint64_t slot = count_ > 0 ? slots_[hash & (slots_.size() - 1)] : 0;
    if (slot != 0) __builtin_prefetch(pool_.data() + ((slot & ~kTag) - 1));
  }
  bool Contains(std::string_view text, std::uint64_t hash) const {
    return count_ > 0 && slots_[Find(text, hash)] != 0;
  }

 private:
  static constexpr std::uint64_t kTag = 0xFFFF'FF00'0000'0000U;  // of the hash; the rest is the text's place
  static constexpr std::size_t kFewest = 64;                     // slots, a power of two

  static std::uint64_t HashOf(std::string_view text) { return std::hash<std::string_view>()(text); }

  std::string_view TextAt(std::uint64_t slot) const {
    const char* const at = pool_.data() + ((slot & ~kTag) - 1);
    std::uint64_t size = 0;
    std::memcpy(&size, at, sizeof size);
    return {at + sizeof size, static_cast<std::size_t>(size)};
  }

  // The text's slot, or the empty one where it would go.
  std::size_t Find(std::string_view text, std::uint64_t hash) const {
    const std::size_t mask = slots_.size() - 1;
    std::size_t at = hash & mask;
    while (slots_[at] != 0 && (((slots_[at] ^ hash) & kTag) != 0 || TextAt(slots_[at]) != text)) {
      at = (at + 1) & mask;
    }
    return at;
  }

  void Grow() {
    std::vector<std::uint64_t> old(slots_.empty() ? kFewest : slots_.size() * 2);
    old.swap(slots_);
    for (const std::uint64_t slot : old) {
      if (slot == 0) continue;
      const std::string_view text = TextAt(slot);
      slots_[Find(text, HashOf(text))] = slot;
    }
  }

  std::vector<std::uint64_t> slots_;
  std::string pool_;
  std::size_t count_ = 0;
};

}  // namespace mox

#pragma GCC visibility pop
