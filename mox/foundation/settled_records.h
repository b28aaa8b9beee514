#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace mox {

/// What a calculate-fields event reads beside the fields that it writes, as whoever sets it declares. It
/// spares runs that would change nothing; what the records hold is the same.
enum class CalcFieldsReads : std::uint8_t {
  kAnything,   ///< settings, other sets, counters: it is fired whenever a record becomes current
  kItsRecord,  ///< its record alone: it is not fired again for a record that its last run left as it was
  kItsInputs   ///< of its record, nothing that an earlier run wrote: one run settles a record
};

/// The records for which a calculate-fields event need not run again, by their numbers.
class SettledRecords {
 public:
  bool Has(std::uint32_t record) const {
    const std::size_t word = record / kBits;
    return word < words_.size() && (words_[word] >> record % kBits & 1U) != 0;
  }
  void Add(std::uint32_t record) {
    const std::size_t word = record / kBits;
    if (word >= words_.size()) words_.resize(std::max(word + 1, words_.size() * 2));
    words_[word] |= std::uint64_t{1} << record % kBits;
  }
  void Remove(std::uint32_t record) {
    const std::size_t word = record / kBits;
    if (word < words_.size()) words_[word] &= ~(std::uint64_t{1} << record % kBits);
  }
  void Clear() { words_.clear(); }

 private:
  static constexpr std::uint32_t kBits = 64;
  std::vector<std::uint64_t> words_;
};

}  // namespace mox
