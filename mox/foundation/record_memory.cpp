#include "mox/foundation/record_memory.h"

#include <algorithm>
#include <cstring>
#include <limits>

#include "mox/foundation/error.h"

namespace mox {

std::size_t RecordSlabs::RecordsIn(std::size_t slab) {
  if (slab >= kGrowing) return kLargest;
  const auto growing = static_cast<std::uint32_t>(slab);
  return FirstOf(growing + 1) - FirstOf(growing);
}

std::uint32_t RecordSlabs::Allocate() {
  if (!free_.empty()) {
    const std::uint32_t record = free_.back();
    free_.pop_back();
    return record;
  }
  if (used_ == std::numeric_limits<std::uint32_t>::max()) throw Overflow("the record set is full");
  const std::uint32_t slab = used_ < kLargest ? GrowingSlabOf(used_) : kGrowing - 1 + used_ / kLargest;
  if (slab == slabs_.size()) {
    slabs_.push_back(std::make_unique_for_overwrite<std::uint64_t[]>(RecordsIn(slab) * words_));
  }
  return used_++;
}

void RecordSlabs::Free(std::uint32_t record) {
  if (generations_.size() <= record) generations_.resize(used_);
  ++generations_[record];
  free_.push_back(record);
}

std::size_t RecordSlabs::MemoryBytes() const {
  std::size_t records = 0;
  for (std::size_t slab = 0; slab < slabs_.size(); ++slab) records += RecordsIn(slab);
  return records * words_ * sizeof(std::uint64_t) + slabs_.capacity() * sizeof(slabs_[0]) +
         (free_.capacity() + generations_.capacity()) * sizeof(std::uint32_t);
}

namespace {

// A text of up to 254 bytes has its length in one byte; a longer one has 255 and eight bytes of length.
constexpr std::size_t kLongMark = 255;
constexpr std::size_t kLargestBlock = std::size_t{64} * 1024;

}  // namespace

std::size_t TextArena::Footprint(std::size_t size) {
  if (size == 0) return 0;
  return size + (size < kLongMark ? 1 : 1 + sizeof(std::uint64_t));
}

std::uint64_t TextArena::Add(std::string_view text) {
  if (text.empty()) return 0;
  const std::size_t footprint = Footprint(text.size());
  char* const at = Reserve(footprint);
  if (text.size() < kLongMark) {
    *at = static_cast<char>(text.size());
  } else {
    *at = static_cast<char>(kLongMark);
    const std::uint64_t size = text.size();
    std::memcpy(at + 1, &size, sizeof size);
  }
  std::memcpy(at + footprint - text.size(), text.data(), text.size());
  return reinterpret_cast<std::uintptr_t>(at);
}

char* TextArena::Reserve(std::size_t footprint) {
  used_ += footprint;
  const bool own_block = footprint > kLargestBlock / 4;
  if (own_block || footprint > left_) {
    const std::size_t size = own_block ? footprint : std::max(next_block_, footprint);
    blocks_.push_back(std::make_unique_for_overwrite<char[]>(size));
    reserved_ += size;
    if (own_block) return blocks_.back().get();
    free_ = blocks_.back().get();
    left_ = size;
    next_block_ = std::min(next_block_ * 2, kLargestBlock);
  }
  char* const at = free_;
  free_ += footprint;
  left_ -= footprint;
  return at;
}

std::string_view TextArena::Get(std::uint64_t reference) {
  if (reference == 0) return {};
  // NOLINTNEXTLINE(performance-no-int-to-ptr): a reference is the address of its text
  const char* const at = reinterpret_cast<const char*>(static_cast<std::uintptr_t>(reference));
  const std::size_t short_size = static_cast<unsigned char>(*at);
  if (short_size < kLongMark) return {at + 1, short_size};
  std::uint64_t size = 0;
  std::memcpy(&size, at + 1, sizeof size);
  return {at + 1 + sizeof size, static_cast<std::size_t>(size)};
}

void TextArena::Clear() {
  blocks_.clear();
  free_ = nullptr;
  left_ = used_ = garbage_ = reserved_ = 0;
  next_block_ = 256;
}

}  // namespace mox
