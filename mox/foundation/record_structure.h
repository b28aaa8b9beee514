#pragma once

#include <array>
#include <bitset>
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

inline constexpr std::uint16_t kNoSlot = 0xFFFF;

/// A set of names of the vocabulary, by NameId.
using NameSet = std::bitset<kVocabularySize>;

/// Where names of the vocabulary stand in a record: the position of their field, or kNoSlot.
struct SlotTable {
  std::array<std::uint16_t, kVocabularySize> places = [] {
    std::array<std::uint16_t, kVocabularySize> none{};
    none.fill(kNoSlot);
    return none;
  }();
  NameSet names;  ///< those that have a position

  std::size_t operator[](NameId id) const { return places[static_cast<std::size_t>(id)]; }
  void Add(NameId id, std::size_t position) {
    places[static_cast<std::size_t>(id)] = static_cast<std::uint16_t>(position);
    names.set(static_cast<std::size_t>(id));
  }
};

inline constexpr SlotTable kNoSlots;

/// One load answers whether a field is there, has the usual kind of its name and may be read or written.
struct SlotTables {
  SlotTable present;     ///< of any kind
  SlotTable usual;       ///< of the usual kind of the name
  SlotTable calculated;  ///< of the usual kind, and written inside the calculate-fields event
};

/// A byte that marks a null. Of a type of its own, because a write of a plain byte may change anything in the
/// eyes of the compiler, which would then read all else anew.
enum class NullMark : std::uint8_t { kValue = 0, kNull = 1 };

/// The fields of a record set, shared by its clones.
///
/// A record is an array of 64-bit words: one cell a field, then one byte a field that is 1 where the field is
/// null. A null cell holds zero bits, so that reading it as a number gives 0 without a test.
class Structure {
 public:
  static constexpr std::size_t kMostFields = 4096;

  /// Before the records are laid out. Raises Error when the name is empty or taken, or there are too many.
  void Define(FieldDef field);
  /// From here on a record has a cell for each field.
  void LayOut();
  bool IsLaidOut() const { return !kinds_.empty(); }

  const std::vector<FieldDef>& fields() const { return fields_; }
  /// For labels and formats; never names or kinds.
  FieldDef& mutable_field(std::size_t index) { return fields_[index]; }
  /// Of a record; 0 before they are laid out.
  std::size_t size() const { return kinds_.size(); }
  std::optional<std::size_t> Find(std::string_view name) const;
  /// Says of which set why a record has no cell at that position: there is no such field, or no record.
  [[noreturn]] void RefusePosition(std::size_t index, const std::string& set_name) const;
  const SlotTables& slot_tables() const { return slots_; }
  std::size_t record_words() const { return blank_.size(); }
  /// A record that is null in every field.
  const std::vector<std::uint64_t>& blank() const { return blank_; }
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
  std::vector<std::uint64_t> blank_;
  std::vector<FieldKind> kinds_;
  std::vector<std::size_t> text_fields_;
};

}  // namespace mox
