#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "mox/foundation/field.h"
#include "mox/foundation/vocabulary.h"

namespace mox {

/// Where the names of the vocabulary stand in a record: the position of their field, or kNoSlot.
using SlotTable = std::array<std::uint16_t, kVocabularySize>;

inline constexpr std::uint16_t kNoSlot = 0xFFFF;

inline constexpr SlotTable kNoSlots = [] {
  SlotTable table{};
  table.fill(kNoSlot);
  return table;
}();

/// One load answers whether a field is there, has the usual kind of its name and may be read or written.
struct SlotTables {
  SlotTable present = kNoSlots;     ///< of any kind
  SlotTable usual = kNoSlots;       ///< of the usual kind of the name
  SlotTable calculated = kNoSlots;  ///< of the usual kind, and written inside the calculate-fields event
};

inline constexpr SlotTables kNoSlotTables{};

/// The fields of a record set, shared by its clones.
///
/// A record is an array of 64-bit words: first the header (a generation in the low half of its last word and
/// the null bits), then one cell a field. A null cell holds zero bits, so that reading it as a number gives 0
/// without a test.
class Structure {
 public:
  static constexpr std::size_t kMostFields = 4096;

  /// Raises Error when a name is empty or given twice, or there are too many fields.
  explicit Structure(std::vector<FieldDef> fields);

  const std::vector<FieldDef>& fields() const { return fields_; }
  std::vector<FieldDef>& mutable_fields() {
    return fields_;
  }  ///< for labels and formats; never names or kinds
  std::size_t size() const { return fields_.size(); }
  std::optional<std::size_t> Find(std::string_view name) const;
  const SlotTables& slots() const { return slots_; }
  std::size_t header_words() const { return header_words_; }
  std::size_t record_words() const { return header_words_ + fields_.size(); }
  const FieldKind* kinds() const { return kinds_.data(); }
  const std::vector<std::size_t>& text_fields() const { return text_fields_; }  ///< of texts and binaries

 private:
  struct FoldedHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const;
  };
  struct FoldedEqual {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
  };

  std::vector<FieldDef> fields_;
  SlotTables slots_;
  std::unordered_map<std::string, std::size_t, FoldedHash, FoldedEqual> by_name_;
  std::size_t header_words_ = 1;
  std::vector<FieldKind> kinds_;
  std::vector<std::size_t> text_fields_;
};

}  // namespace mox
