#include "mox/foundation/record_cursor.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <string>

#include "mox/foundation/error.h"

namespace mox {

namespace {

// Every beginning of every set has its own number, so that a bookmark knows the set it was taken from.
std::uint64_t NextEpoch() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

}  // namespace

void RecordCursor::StartAnew(const RecordTable& table) {
  *this = RecordCursor();
  epoch_ = NextEpoch();
  Bind(table);
  ShowNothing(table);
}

void RecordCursor::Bind(const RecordTable& table) {
  const std::vector<Id>& records = filtered_ ? filtered_order_ : table.order();
  visible_ = records.data();
  visible_count_ = records.size();
}

// --- the current row ---

void RecordCursor::ShowNothing(const RecordTable& table) {
  Bind(table);
  position_ = 0;
  // Nothing is writable while there is no record.
  cells_ = const_cast<std::uint64_t*>(table.BlankCells());
  eof_ = true;
  bof_ = true;
}

void RecordCursor::ShowNear(RecordTable& table, std::size_t position) {
  Bind(table);
  if (visible_count_ == 0) {
    ShowNothing(table);
  } else {
    Show(table, std::min(position, visible_count_ - 1));
  }
}

// --- rows ---

RecordTable::Id RecordCursor::RecordOfRow(const RecordTable& table, std::size_t row) const {
  if (row >= RowCount()) {
    throw Error(table.name + ": there is no row at place " + std::to_string(row) + " of " +
                std::to_string(RowCount()));
  }
  if (!inserting_) return visible_[row];
  const std::size_t pending = PendingRow();
  if (row == pending) return pending_;
  return visible_[row < pending ? row : row - 1];
}

std::size_t RecordCursor::NumberOfRow(const RecordTable& table, std::size_t row) const {
  const Id record = RecordOfRow(table, row);
  if (!inserting_ || row < PendingRow()) return OrderIndexOf(table, record, row) + 1;
  return row == PendingRow() ? pending_at_ + 1 : OrderIndexOf(table, record, row - 1) + 2;
}

std::optional<std::size_t> RecordCursor::FindRow(const RecordTable& table, const RecordKey& key,
                                                 std::size_t from, bool without_insert) const {
  for (std::size_t row = from; row < RowCount(); ++row) {
    if (inserting_ && without_insert && row == PendingRow()) continue;
    if (key.Matches(table, table.Cells(RecordOfRow(table, row)))) return row;
  }
  return std::nullopt;
}

// --- visible records ---

// Records come and go one at a time, so that most are found in a step or two.
std::optional<std::size_t> RecordCursor::PlaceOf(Id record, std::size_t near) const {
  const Id* const end = visible_ + visible_count_;
  const Id* const start = visible_ + std::min(near, visible_count_);
  const Id* at = std::find(start, end, record);
  if (at == end) {
    at = std::find(visible_, start, record);
    if (at == start) return std::nullopt;
  }
  return static_cast<std::size_t>(at - visible_);
}

std::optional<Bookmark> RecordCursor::Remember(const RecordTable& table) const {
  if (RowCount() == 0) return std::nullopt;
  const Id record = CurrentRecord();
  return Bookmark{record, table.GenerationOf(record), epoch_, inserting_ ? pending_at_ : position_};
}

std::optional<Bookmark> RecordCursor::RememberNumber(const RecordTable& table, std::size_t number) const {
  const std::vector<Id>& order = table.order();
  if (number < 1 || number > order.size() + (inserting_ ? 1 : 0)) return std::nullopt;
  std::size_t at = number - 1;
  if (inserting_ && at == pending_at_) {
    return Bookmark{pending_, table.GenerationOf(pending_), epoch_, pending_at_};
  }
  if (inserting_ && at > pending_at_) --at;
  return Bookmark{order[at], table.GenerationOf(order[at]), epoch_, at};
}

std::optional<std::size_t> RecordCursor::PlaceOf(const RecordTable& table, const Bookmark& bookmark) const {
  return Holds(table, bookmark) ? PlaceOf(bookmark.record, bookmark.position) : std::nullopt;
}

bool RecordCursor::IsVisible(const RecordTable& table, Id record) const {
  return !filter_ || filter_->Matches(table.Row(table.Cells(record)));
}

bool RecordCursor::ShowVisible(RecordTable& table, const std::optional<Bookmark>& current) {
  filtered_order_.clear();
  if (filtered_) {
    std::copy_if(table.order().begin(), table.order().end(), std::back_inserter(filtered_order_),
                 [&](Id record) { return IsVisible(table, record); });
  }
  Bind(table);
  const auto kept = current ? PlaceOf(current->record, current->position) : std::nullopt;
  ShowNear(table, kept.value_or(0));
  bof_ = !kept;
  return kept.has_value();
}

std::size_t RecordCursor::OrderIndexOf(const RecordTable& table, Id record, std::size_t near) const {
  if (!filtered_) return near;
  const auto& order = table.order();
  return static_cast<std::size_t>(
      std::find(order.begin() + static_cast<std::ptrdiff_t>(near), order.end(), record) - order.begin());
}

// --- records that come and go ---

void RecordCursor::BeginInsert(RecordTable& table, bool at_end) {
  pending_ = table.NewRecord();
  pending_at_ =
      at_end || visible_count_ == 0 ? table.size() : OrderIndexOf(table, visible_[position_], position_);
  pending_at_end_ = pending_at_ == table.size();
  cells_ = table.Cells(pending_);
  inserting_ = true;
}

void RecordCursor::DropInsert(RecordTable& table) {
  table.Drop(pending_);
  inserting_ = false;
  ShowNear(table, position_);
}

void RecordCursor::ShowPosted(RecordTable& table, bool inserted) {
  Bind(table);
  if (inserted) Show(table, pending_at_);
}

RecordCursor::PostedRow RecordCursor::FilterPosted(RecordTable& table, bool inserted) {
  const Id record = inserted ? pending_ : visible_[position_];
  const std::size_t row = inserted && pending_at_end_ ? filtered_order_.size() : position_;
  const auto place = filtered_order_.begin() + static_cast<std::ptrdiff_t>(row);
  const bool visible = IsVisible(table, record);
  if (inserted && visible) {
    filtered_order_.insert(place, record);
  } else if (!inserted && !visible) {
    filtered_order_.erase(place);
  }
  ShowNear(table, visible ? row : position_);
  return {row, visible};
}

void RecordCursor::Delete(RecordTable& table) {
  const Id record = visible_[position_];
  table.Displace(OrderIndexOf(table, record, position_));
  if (filtered_) filtered_order_.erase(filtered_order_.begin() + static_cast<std::ptrdiff_t>(position_));
  table.Drop(record);
  ShowNear(table, position_);
}

}  // namespace mox
