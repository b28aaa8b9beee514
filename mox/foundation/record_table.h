#pragma once

#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/record_memory.h"
#include "mox/foundation/record_row.h"
#include "mox/foundation/record_structure.h"

namespace mox {

/// The records under a record set: structure, cells, texts and order. It has no current record, no state and
/// nobody to tell: that is RecordSet's. A record is named by a number that it keeps while it lies in the
/// table.
///
/// One record may be under edit. Its cells are changed in place while a copy keeps what was posted; reading
/// the table gives what was posted, reading the cells what is pending.
class RecordTable {
 public:
  using Id = std::uint32_t;

  static constexpr std::size_t kMostRecords = 0xFFFF'FFFFU;

  std::string name;

  // --- structure ---

  bool IsOpen() const { return structure_->IsLaidOut(); }
  const std::vector<FieldDef>& Fields() const { return structure_->fields(); }
  /// Raises Error when there is none at that position.
  void RequireField(std::size_t index) const {
    if (index >= Fields().size()) structure_->RefusePosition(index, name);
  }
  /// For its label and format only. Clones that share the structure keep theirs. Raises Error when there is
  /// none at that position.
  FieldDef& MutableField(std::size_t index);
  std::optional<std::size_t> Find(std::string_view field) const { return structure_->Find(field); }
  /// Raises FieldNotFound.
  std::size_t IndexOf(std::string_view field) const;
  /// Of a closed table. Raises Error when the name is empty or taken.
  void Define(FieldDef def);
  void Open();
  /// Drops all records. The fields stay defined.
  void Close();
  const Structure& structure() const { return *structure_; }

  // --- records in their order, as posted ---

  std::size_t size() const { return order_.size(); }
  bool empty() const { return order_.empty(); }
  RecordRow operator[](std::size_t at) const { return Row(PostedCells(order_[at])); }
  class Iterator {
   public:
    Iterator(const RecordTable& table, std::size_t at) : table_(&table), at_(at) {}
    RecordRow operator*() const { return (*table_)[at_]; }
    Iterator& operator++() {
      ++at_;
      return *this;
    }
    bool operator==(const Iterator& other) const { return at_ == other.at_; }

   private:
    const RecordTable* table_;
    std::size_t at_;
  };
  Iterator begin() const { return {*this, 0}; }
  Iterator end() const { return {*this, size()}; }
  const std::vector<Id>& order() const { return order_; }

  // --- cells ---

  const std::uint64_t* Cells(Id record) const { return slabs_.At(record); }
  std::uint64_t* Cells(Id record) { return slabs_.At(record); }
  /// Asks the memory for cells, or for a whole record, that will be used soon. Inlined, or the compiler takes
  /// it for a function that does nothing and drops the call.
  MOX_ALWAYS_INLINE void Fetch(Id record, std::span<const std::size_t> fields) const {
    const std::uint64_t* const cells = Cells(record);
    for (const std::size_t field : fields) __builtin_prefetch(cells + field);
  }
  MOX_ALWAYS_INLINE void Fetch(Id record) const {
    constexpr std::size_t kCacheLine = 64 / sizeof(std::uint64_t);
    const std::uint64_t* const cells = Cells(record);
    for (std::size_t word = 0; word < posted_.size(); word += kCacheLine) __builtin_prefetch(cells + word);
  }
  const std::uint64_t* PostedCells(Id record) const {
    return IsUnderEdit(record) ? posted_.data() : Cells(record);
  }
  const std::uint64_t* BlankCells() const { return structure_->blank().data(); }
  RecordRow Row(const std::uint64_t* cells) const { return {*structure_, name, cells}; }
  NullMark* Marks(std::uint64_t* cells) const {
    return reinterpret_cast<NullMark*>(cells + structure_->size());
  }
  bool IsNull(const std::uint64_t* cells, std::size_t field) const {
    return reinterpret_cast<const NullMark*>(cells + structure_->size())[field] != NullMark::kValue;
  }
  /// How often a record of that number was given back.
  std::uint32_t GenerationOf(Id record) const { return slabs_.GenerationOf(record); }

  /// Writes a value in the kind of its field, a text cut to its size. Raises ConversionError or Overflow that
  /// names the field, and leaves the cell as it was.
  void Write(std::uint64_t* cells, std::size_t field, const Value& value);
  void WriteText(std::uint64_t* cells, std::size_t field, std::string_view text);
  void WriteBits(std::uint64_t* cells, std::size_t field, std::uint64_t bits) {
    cells[field] = bits;
    Marks(cells)[field] = NullMark::kValue;
  }
  void WriteNull(std::uint64_t* cells, std::size_t field);

  // --- records that come and go ---

  /// A record that is null in every field and stands nowhere yet. Raises Overflow when the table is full.
  Id NewRecord();
  void Place(Id record, std::size_t at) { order_.insert(order_.begin() + Offset(at), record); }
  void Displace(std::size_t at) { order_.erase(order_.begin() + Offset(at)); }
  /// Gives back a record that stands nowhere.
  void Drop(Id record);
  void Clear();

  // --- the record under edit ---

  /// Of a record whose cells are at hand.
  void BeginEdit(Id record, const std::uint64_t* cells) {
    CopyWords(posted_.data(), cells, posted_.size());
    edited_ = record;
    under_edit_ = true;
  }
  bool IsUnderEdit() const { return under_edit_; }
  bool IsUnderEdit(Id record) const { return under_edit_ && record == edited_; }
  void KeepEdit() {
    if (replaced_text_) [[unlikely]]
      DropReplacedTexts(Cells(edited_), posted_.data());
    under_edit_ = false;
  }
  void UndoEdit();

  // --- copies ---

  /// Takes over structure and posted records of an open table.
  void CloneFrom(const RecordTable& source);
  /// Appends the posted records of another table, field by name. Where a value cannot be converted, raises
  /// and leaves the table as it was.
  void AppendFrom(const RecordTable& source);

  /// Gives back the memory of dead texts where that is worth it. No view of a text may be held.
  void CompactTextsIfWorthIt() {
    if (texts_.garbage() > kGarbageLimit && texts_.garbage() > texts_.used() / 2) CompactTexts();
  }
  std::size_t MemoryBytes() const;

 private:
  static constexpr std::size_t kGarbageLimit = 1U << 20U;  // bytes of dead texts worth compacting

  static std::ptrdiff_t Offset(std::size_t at) { return static_cast<std::ptrdiff_t>(at); }
  // A record is short: a call would take as long as copying it. The last piece may cover the one before it.
  static void CopyWords(std::uint64_t* to, const std::uint64_t* from, std::size_t words) {
    constexpr std::size_t kPiece = 8;
    constexpr std::size_t kBytes = kPiece * sizeof(std::uint64_t);
    if (words < kPiece) {
      for (std::size_t i = 0; i < words; ++i) to[i] = from[i];
      return;
    }
    for (std::size_t i = 0; i + kPiece < words; i += kPiece) std::memcpy(to + i, from + i, kBytes);
    std::memcpy(to + words - kPiece, from + words - kPiece, kBytes);
  }
  void StartWith(std::shared_ptr<Structure> structure);
  Structure& OwnStructure();
  Id CopyOf(const RecordTable& source, Id record, std::span<const std::optional<std::size_t>> source_fields);
  void DropText(const std::uint64_t* cells, std::size_t field);
  void DropReplacedTexts(const std::uint64_t* kept, const std::uint64_t* replaced);
  void CompactTexts();

  std::shared_ptr<Structure> structure_ = std::make_shared<Structure>();
  RecordSlabs slabs_{1};
  TextArena texts_;
  std::vector<Id> order_;
  std::vector<std::uint64_t> posted_;  // room for one record: the one under edit as it was posted
  Id edited_ = 0;
  bool under_edit_ = false;
  bool replaced_text_ = false;  // a text that posted_ still refers to was replaced
};

}  // namespace mox
