#pragma once

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/record_filter.h"
#include "mox/foundation/record_key.h"
#include "mox/foundation/record_table.h"

namespace mox {

/// A remembered record. It stays good while records come and go, until its own is deleted or the set is
/// closed, loaded or cloned anew.
struct Bookmark {
  std::uint32_t record = 0;
  std::uint32_t generation = 0;
  std::uint64_t epoch = 0;
  std::size_t position = 0;
};

/// Which records of a table are rows, and which row is current. Rows are the records that the filter lets
/// through, in the table's order; one that is being inserted is a row in its place. Whatever moves in a set
/// moves here; nothing is asked, posted or told on the way: that is RecordSet's.
///
/// The table is handed in at each call, and is always the same one.
class RecordCursor {
 public:
  using Id = RecordTable::Id;

  /// Of a table that was opened, closed or filled anew: without a filter, on no row.
  void StartAnew(const RecordTable& table);

  // --- the current row ---

  /// Those of the current record; of a blank one where there is none, which nothing writes to.
  std::uint64_t* cells() const { return cells_; }
  bool eof() const { return eof_; }
  bool bof() const { return bof_; }
  /// Among the visible records; of an insert, that of the record which was current before.
  std::size_t position() const { return position_; }
  std::size_t CurrentRow() const { return inserting_ ? PendingRow() : position_; }
  Id CurrentRecord() const { return inserting_ ? pending_ : VisibleRecord(); }
  /// The same where none is being inserted.
  Id VisibleRecord() const { return visible_[position_]; }

  // --- moving ---

  /// Each answers whether a row became current.
  bool ToFirst(RecordTable& table) {
    if (visible_count_ == 0) return false;
    Show(table, 0);
    bof_ = true;
    return true;
  }
  bool ToNext(RecordTable& table) {
    if (position_ + 1 < visible_count_) [[likely]] {
      Show(table, position_ + 1);
      return true;
    }
    eof_ = true;
    return false;
  }
  bool ToPrior(RecordTable& table) {
    if (visible_count_ > 0 && position_ > 0) {
      Show(table, position_ - 1);
      return true;
    }
    bof_ = true;
    return false;
  }
  bool ToLast(RecordTable& table) {
    if (visible_count_ == 0) return false;
    Show(table, visible_count_ - 1);
    eof_ = true;
    return true;
  }
  void Show(RecordTable& table, std::size_t position) {
    position_ = position;
    cells_ = table.Cells(visible_[position]);
    eof_ = false;
    bof_ = false;
  }
  void ShowNothing(const RecordTable& table);
  void MarkEof() { eof_ = true; }

  /// Asks the memory for the record that comes up some moves later, or for fields of it.
  MOX_ALWAYS_INLINE void FetchAhead(const RecordTable& table) const {
    if (const std::size_t row = position_ + kFetchedAhead; row < visible_count_) table.Fetch(visible_[row]);
  }
  MOX_ALWAYS_INLINE void FetchAhead(const RecordTable& table, std::span<const std::size_t> fields) const {
    if (const std::size_t row = position_ + kFetchedAhead; row < visible_count_) {
      table.Fetch(visible_[row], fields);
    }
  }

  // --- rows ---

  std::size_t RowCount() const { return visible_count_ + (inserting_ ? 1U : 0U); }
  /// Raises Error when there is none at that place.
  Id RecordOfRow(const RecordTable& table, std::size_t row) const;
  /// Its number among all records whatever the filter, from 1. Raises Error when there is none at that place.
  std::size_t NumberOfRow(const RecordTable& table, std::size_t row) const;
  /// The first row, from a place on, that the key matches. An insert is passed over where that is asked for.
  std::optional<std::size_t> FindRow(const RecordTable& table, const RecordKey& key, std::size_t from,
                                     bool without_insert) const;

  // --- visible records ---

  std::size_t visible_count() const { return visible_count_; }
  /// The place of a visible record, looked for around one that it had.
  std::optional<std::size_t> PlaceOf(Id record, std::size_t near) const;
  std::optional<Bookmark> Remember(const RecordTable& table) const;
  /// The record that has such a number among all, as NumberOfRow counts them; none where there is none.
  std::optional<Bookmark> RememberNumber(const RecordTable& table, std::size_t number) const;
  /// Whether a remembered record is still there, whatever the filter.
  bool Holds(const RecordTable& table, const Bookmark& bookmark) const {
    return epoch_ == bookmark.epoch && table.GenerationOf(bookmark.record) == bookmark.generation;
  }
  /// The place of a remembered record; none when it is gone or filtered out.
  std::optional<std::size_t> PlaceOf(const RecordTable& table, const Bookmark& bookmark) const;

  const RecordFilter* filter() const { return filter_.get(); }
  /// Null for none. It counts while it is switched on, and from the next ShowVisible on.
  void SetFilter(std::unique_ptr<RecordFilter> filter) { filter_ = std::move(filter); }
  bool IsFiltered() const { return filtered_; }
  void SetFiltered(bool filtered) { filtered_ = filtered; }
  /// Looks through the table for what is visible now. The current record is kept where it is among them;
  /// else, and the answer is false, the first one is current, or none.
  bool ShowVisible(RecordTable& table, const std::optional<Bookmark>& current);

  // --- records that come and go ---

  bool inserting() const { return inserting_; }
  /// Makes a new record current, to stand before the current one or at the end when it is posted.
  void BeginInsert(RecordTable& table, bool at_end);
  bool InsertsAtEnd() const { return pending_at_end_; }
  /// Gives the inserted record its place in the table.
  void PlaceInsert(RecordTable& table) { table.Place(pending_, pending_at_); }
  void EndInsert() { inserting_ = false; }
  /// The record that was being inserted is gone, and the one before it current again.
  void DropInsert(RecordTable& table);
  /// A posted record is current in its place.
  void ShowPosted(RecordTable& table, bool inserted);
  /// The same under a filter, once it is calculated: it is visible, or another record is current instead.
  struct PostedRow {
    std::size_t row;
    bool visible;
  };
  PostedRow FilterPosted(RecordTable& table, bool inserted);
  /// Deletes the current record; the one behind it is current, or the last one, or none.
  void Delete(RecordTable& table);

  std::size_t MemoryBytes() const { return filtered_order_.capacity() * sizeof(Id); }

 private:
  static constexpr std::size_t kFetchedAhead = 12;  // records, about as long as a word from memory takes

  void Bind(const RecordTable& table);
  void ShowNear(RecordTable& table, std::size_t position);
  bool IsVisible(const RecordTable& table, Id record) const;
  std::size_t PendingRow() const { return pending_at_end_ ? visible_count_ : position_; }
  std::size_t OrderIndexOf(const RecordTable& table, Id record, std::size_t near) const;

  std::uint64_t* cells_ = nullptr;
  const Id* visible_ = nullptr;  // of the table's order, or of filtered_order_
  std::size_t visible_count_ = 0;
  std::size_t position_ = 0;
  bool eof_ = true;
  bool bof_ = true;
  bool filtered_ = false;
  bool inserting_ = false;  // also while the event calculates the new record
  bool pending_at_end_ = false;
  Id pending_ = 0;              // the record being inserted
  std::size_t pending_at_ = 0;  // its place in the order
  std::uint64_t epoch_ = 0;     // which beginning of which set this is
  std::unique_ptr<RecordFilter> filter_;
  std::vector<Id> filtered_order_;
};

}  // namespace mox
