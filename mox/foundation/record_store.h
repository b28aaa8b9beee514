#pragma once

#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace mox {

/// The memory of a set's records: fixed-size arrays of 64-bit words in slabs that grow from 8 over 64 to 512
/// records, so that a set of one record stays small. Records are addressed by a number and never move.
class RecordSlabs {
 public:
  explicit RecordSlabs(std::size_t words_per_record) : words_(words_per_record) {}

  /// A record of zero words, new or given back before.
  std::uint32_t Allocate();
  void Free(std::uint32_t record) { free_.push_back(record); }
  void Clear();

  std::uint64_t* At(std::uint32_t record) const {
    if (record >= kBeforeLarge) [[likely]] {
      const std::uint32_t rest = record - kBeforeLarge;
      return slabs_[2 + rest / kLarge].get() + rest % kLarge * words_;
    }
    return record < kSmall ? slabs_[0].get() + record * words_ : slabs_[1].get() + (record - kSmall) * words_;
  }

  std::size_t MemoryBytes() const;

 private:
  static constexpr std::uint32_t kSmall = 8;
  static constexpr std::uint32_t kBeforeLarge = 72;
  static constexpr std::uint32_t kLarge = 512;

  std::size_t words_;
  std::vector<std::unique_ptr<std::uint64_t[]>> slabs_;
  std::vector<std::uint32_t> free_;
  std::uint32_t used_ = 0;
};

/// The bytes of a set's texts, appended only. A reference is the address of a length-prefixed text; 0 is the
/// empty text. Texts that nothing refers to any more stay until the set is compacted.
class TextArena {
 public:
  std::uint64_t Add(std::string_view text);
  static std::string_view Get(std::uint64_t reference);
  /// A text is no longer referred to.
  void Drop(std::uint64_t reference) { garbage_ += Footprint(Get(reference).size()); }

  void Clear();
  std::size_t used() const { return used_; }
  std::size_t garbage() const { return garbage_; }
  std::size_t MemoryBytes() const { return reserved_; }

 private:
  static std::size_t Footprint(std::size_t size);
  char* Reserve(std::size_t footprint);

  std::vector<std::unique_ptr<char[]>> blocks_;
  char* free_ = nullptr;
  std::size_t left_ = 0;
  std::size_t next_block_ = 256;
  std::size_t used_ = 0;
  std::size_t garbage_ = 0;
  std::size_t reserved_ = 0;
};

}  // namespace mox
