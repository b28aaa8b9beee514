#pragma once

#include <bit>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

namespace mox {

/// The memory of a set's records: fixed-size arrays of 64-bit words in slabs that grow by eight, from 8
/// records to 32,768, so that a set of one record stays small and a large one lies in few large pieces of
/// memory. Records are addressed by a number and never move. What their words mean the table says
/// (record_table.h).
class RecordSlabs {
 public:
  explicit RecordSlabs(std::size_t words_per_record) : words_(words_per_record) {}

  /// A record whose words are not set yet.
  std::uint32_t Allocate();
  void Free(std::uint32_t record);
  /// How often the record was given back.
  std::uint32_t GenerationOf(std::uint32_t record) const {
    return record < generations_.size() ? generations_[record] : 0;
  }

  const std::uint64_t* At(std::uint32_t record) const { return Words(record); }
  std::uint64_t* At(std::uint32_t record) { return Words(record); }

  std::size_t MemoryBytes() const;

 private:
  // The growing slabs end at 8, 64, 512, 4,096 and 32,768 records; all further ones hold 32,768.
  static constexpr std::uint32_t kSmallest = 8;
  static constexpr std::uint32_t kLargest = 32'768;
  static constexpr std::uint32_t kGrowing = 5;

  std::uint64_t* Words(std::uint32_t record) const {
    if (record >= kLargest) [[likely]] {
      return slabs_[kGrowing - 1 + record / kLargest].get() + record % kLargest * words_;
    }
    if (record < kSmallest) return slabs_[0].get() + record * words_;
    const std::uint32_t slab = GrowingSlabOf(record);
    return slabs_[slab].get() + (record - FirstOf(slab)) * words_;
  }

  static std::uint32_t GrowingSlabOf(std::uint32_t record) {
    return (static_cast<std::uint32_t>(std::bit_width(record | 7U)) - 1) / 3;
  }
  static std::uint32_t FirstOf(std::uint32_t growing_slab) {
    return growing_slab == 0 ? 0 : std::uint32_t{1} << 3 * growing_slab;
  }
  static std::size_t RecordsIn(std::size_t slab);

  std::size_t words_;
  std::vector<std::unique_ptr<std::uint64_t[]>> slabs_;
  std::vector<std::uint32_t> free_;
  std::vector<std::uint32_t> generations_;  // of the records up to the last one given back
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
