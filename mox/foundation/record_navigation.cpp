#include <algorithm>
#include <exception>

#include "mox/foundation/record_filter.h"
#include "mox/foundation/record_set.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

// --- leaving and entering records ---

void RecordSet::RequireBrowsable(const char* what) const {
  if (now_.state == DataSetState::kInactive)
    throw StateError(Name() + ": cannot " + what + ", the record set is closed");
  if (now_.state == DataSetState::kCalcFields) {
    throw StateError(Name() + ": cannot " + what + " inside the calculate-fields event");
  }
}

// The record that the before-post event looks at stays where it is.
void RecordSet::RequireUnchecked(const char* what) const {
  if (now_.checking) throw StateError(Name() + ": cannot " + what + " inside the before-post event");
}

void RecordSet::RequireOutsideEvents(const char* what) const {
  if (now_.state == DataSetState::kCalcFields) RequireBrowsable(what);
  RequireUnchecked(what);
}

void RecordSet::RequireEditable() const {
  if (now_.state == DataSetState::kEdit || now_.state == DataSetState::kInsert) return;
  RequireBrowsable("edit");
  throw StateError(Name() + ": there is no record to edit");
}

void RecordSet::RequireEditing() const {
  RequireBrowsable("post");
  throw StateError(Name() + ": cannot post, no record is being edited or inserted");
}

void RecordSet::LeaveRecord() {
  RequireBrowsable("move");
  RequireUnchecked("move");
  if (now_.state == DataSetState::kBrowse) return;
  if (now_.modified) {
    Post();
  } else if (now_.state == DataSetState::kEdit) {
    EndEditing();  // what the event calculated meanwhile stays
    Tell(RecordSetChange::kRecord, now_.position);
  } else {
    Cancel();
  }
}

// --- rows: the visible records, and one that is being inserted ---

RecordTable::Id RecordSet::RecordOfRow(std::size_t row) const {
  if (row >= RowCount()) {
    throw Error(Name() + ": there is no row at place " + std::to_string(row) + " of " +
                std::to_string(RowCount()));
  }
  if (!now_.inserting) return now_.rows[row];
  const std::size_t pending = PendingRow();
  if (row == pending) return now_.pending;
  return now_.rows[row < pending ? row : row - 1];
}

std::size_t RecordSet::NumberOfRow(std::size_t row) const {
  const RecordTable::Id record = RecordOfRow(row);
  if (!now_.inserting) return OrderIndexOf(record, row) + 1;
  const std::size_t pending = PendingRow();
  if (row == pending) return now_.pending_at + 1;
  return row < pending ? OrderIndexOf(record, row) + 1 : OrderIndexOf(record, row - 1) + 2;
}

RecordRow RecordSet::RowAt(std::size_t row) const { return table_.Row(table_.Cells(RecordOfRow(row))); }

// --- moving ---

// A move is made and told of also when the event of the record raises.
void RecordSet::TellOfMove() {
  std::exception_ptr failure;
  const RecordTable::Id record = now_.rows[now_.position];
  before_calculation_.clear();
  if (IsToBeCalculated(record)) {
    try {
      FireCalcFields(record);
    } catch (...) {
      failure = std::current_exception();
    }
  }
  if (!std::equal(before_calculation_.begin(), before_calculation_.end(), now_.cells)) {
    Tell(RecordSetChange::kRecord, now_.position);
  }
  Tell(RecordSetChange::kMoved, now_.position);
  if (failure) std::rethrow_exception(failure);
}

void RecordSet::Prior() {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  if (now_.row_count > 0 && now_.position > 0) {
    MoveTo(now_.position - 1);
  } else {
    now_.bof = true;
  }
}

void RecordSet::Last() {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  if (now_.row_count == 0) return;
  ShowRecord(now_.row_count - 1);
  now_.eof = true;
  BecameCurrent();
}

// Records come and go one at a time, so that most are found in a step or two.
std::optional<std::size_t> RecordSet::RowOf(RecordTable::Id record, std::size_t place) const {
  const RecordTable::Id* const end = now_.rows + now_.row_count;
  const RecordTable::Id* const near = now_.rows + std::min(place, now_.row_count);
  const RecordTable::Id* at = std::find(near, end, record);
  if (at == end) {
    at = std::find(now_.rows, near, record);
    if (at == near) return std::nullopt;
  }
  return static_cast<std::size_t>(at - now_.rows);
}

void RecordSet::GoToRow(std::size_t row) {
  const RecordTable::Id record = RecordOfRow(row);
  if (row == CurrentRow()) return;
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  MoveTo(*RowOf(record, row > 0 ? row - 1 : 0));
}

std::optional<Bookmark> RecordSet::GetBookmark() const {
  if (RowCount() == 0) return std::nullopt;
  const RecordTable::Id record = CurrentRecord();
  return Bookmark{record, table_.GenerationOf(record), now_.epoch,
                  now_.inserting ? now_.pending_at : now_.position};
}

bool RecordSet::GotoBookmark(const Bookmark& bookmark) {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  if (now_.epoch != bookmark.epoch || table_.GenerationOf(bookmark.record) != bookmark.generation)
    return false;
  const auto row = RowOf(bookmark.record, bookmark.position);
  if (row) MoveTo(*row);
  return row.has_value();
}

// --- locating ---

namespace {

// A key value in the kind of its field.
struct Key {
  std::size_t index = 0;
  FieldKind kind = FieldKind::kText;
  bool null = false;
  bool fold = false;
  std::string text;
  std::uint64_t bits = 0;
  double number = 0;

  bool Matches(std::uint64_t cell) const {
    switch (kind) {
      case FieldKind::kText:
      case FieldKind::kBinary:
        return fold ? EqualsIgnoringCase(TextArena::Get(cell), text) : TextArena::Get(cell) == text;
      case FieldKind::kFloat:
        return std::bit_cast<double>(cell) == number;
      default:
        return cell == bits;
    }
  }
};

Key MakeKey(std::size_t index, FieldKind kind, const Value& value, LocateOptions options) {
  Key key;
  key.index = index;
  key.kind = kind;
  key.null = std::holds_alternative<std::monostate>(value);
  if (key.null) return key;
  switch (kind) {
    case FieldKind::kText:
    case FieldKind::kBinary:
      key.fold = options.case_insensitive && kind == FieldKind::kText;
      key.text = ToText(value);
      break;
    case FieldKind::kFloat:
      key.number = ToFloat(value);
      break;
    default:
      key.bits = PackNumber(kind, value);
  }
  return key;
}

}  // namespace

std::optional<std::size_t> RecordSet::FindRow(std::string_view names, std::span<const Value> values,
                                              LocateOptions options, std::size_t from) const {
  std::vector<Key> keys;
  for (std::string_view rest = names; !rest.empty();) {
    const std::size_t end = std::min(rest.find(';'), rest.size());
    const std::string_view name = TrimBlanks(rest.substr(0, end));
    rest.remove_prefix(std::min(end + 1, rest.size()));
    const auto index = FindFieldIndex(name);
    if (!index) throw FieldNotFound(name, Name());
    if (keys.size() == values.size()) throw Error(Name() + ": locate has more fields than values");
    keys.push_back(MakeKey(*index, Definition(*index).kind, values[keys.size()], options));
  }
  if (keys.size() != values.size()) throw Error(Name() + ": locate has more values than fields");
  const bool untouched_insert = now_.inserting && !now_.modified;
  for (std::size_t row = from; row < RowCount(); ++row) {
    if (untouched_insert && row == PendingRow()) continue;
    const std::uint64_t* const cells = table_.Cells(RecordOfRow(row));
    const bool found = std::all_of(keys.begin(), keys.end(), [&](const Key& key) {
      const bool null = table_.IsNull(cells, key.index);
      return null == key.null && (null || key.Matches(cells[key.index]));
    });
    if (found) return row;
  }
  return std::nullopt;
}

bool RecordSet::Locate(std::string_view names, std::span<const Value> values, LocateOptions options) {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  const auto row = FindRow(names, values, options);
  if (row) MoveTo(*row);
  return row.has_value();
}

// --- the filter ---

void RecordSet::SetFilter(std::string_view expression, bool case_insensitive) {
  std::unique_ptr<RecordFilter> filter;
  if (!TrimBlanks(expression).empty()) {
    filter = std::make_unique<RecordFilter>(expression, case_insensitive);
    const auto index = FindFieldIndex(filter->field());
    if (!index) throw FieldNotFound(filter->field(), Name());
    filter->SetFieldIndex(*index);
  }
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  filter_ = std::move(filter);
  if (now_.filtered) SetFiltered(true);
}

void RecordSet::SetFiltered(bool filtered) {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  const auto current = GetBookmark();
  now_.filtered = filtered;
  ShowAfterChange(current);
}

bool RecordSet::IsVisible(RecordTable::Id record) const {
  if (!filter_) return true;
  const std::size_t field = filter_->field_index();
  const RecordRow row = table_.Row(table_.Cells(record));
  return HoldsText(Definition(field).kind) ? filter_->Matches(row.AsTextView(field))
                                           : filter_->Matches(row.AsText(field));
}

void RecordSet::RebuildVisible() {
  visible_.clear();
  if (!now_.filtered) return;
  std::copy_if(table_.order().begin(), table_.order().end(), std::back_inserter(visible_),
               [&](RecordTable::Id record) { return IsVisible(record); });
}

// Other records are visible than before; the current one is kept where it is among them.
void RecordSet::ShowAfterChange(const std::optional<Bookmark>& current) {
  RebuildVisible();
  BindRows();
  const auto kept = current ? RowOf(current->record, current->position) : std::nullopt;
  if (now_.row_count == 0) {
    ShowNothing();
  } else {
    ShowRecord(kept.value_or(0));
    now_.bof = !kept;
  }
  Tell(RecordSetChange::kReset);
  if (now_.row_count > 0 && !kept) BecameCurrent();
}

// The record just posted stands in its place among the visible ones, or leaves them.
void RecordSet::FilterPosted(bool inserted) {
  const RecordTable::Id record = inserted ? now_.pending : now_.rows[now_.position];
  const bool visible = IsVisible(record);
  // of a new record, the place at which it was pending; the table has it already
  const bool at_end = inserted && now_.pending_at + 1 == table_.size();
  const std::size_t row = at_end ? visible_.size() : now_.position;
  const auto place = visible_.begin() + static_cast<std::ptrdiff_t>(row);
  if (inserted && visible) {
    visible_.insert(place, record);
  } else if (!inserted && !visible) {
    visible_.erase(place);
  }
  BindRows();
  if (now_.row_count == 0) {
    ShowNothing();
  } else {
    ShowRecord(visible ? row : std::min(now_.position, now_.row_count - 1));
  }
  Tell(visible ? RecordSetChange::kRecord : RecordSetChange::kRemoved, row);
  if (!visible && now_.row_count > 0) BecameCurrent();
}

void RecordSet::LeaveForNext() {
  const std::size_t visible_before = now_.row_count;
  const bool posted_insert = now_.state == DataSetState::kInsert && now_.modified;
  const bool editing = now_.state == DataSetState::kEdit;
  const bool was_last = now_.position + 1 >= visible_before;
  const bool at_end = now_.pending_at == table_.size();
  LeaveRecord();
  if (editing && now_.row_count < visible_before) {
    now_.eof = now_.eof || was_last;
  } else if (posted_insert && now_.row_count == visible_before) {
    now_.eof = now_.eof || at_end;  // the new record is filtered out: the one after it is current
  } else {
    Next();
  }
}

std::size_t RecordSet::OrderIndexOf(RecordTable::Id record, std::size_t hint) const {
  if (!now_.filtered) return hint;
  const auto& order = table_.order();
  return static_cast<std::size_t>(
      std::find(order.begin() + static_cast<std::ptrdiff_t>(hint), order.end(), record) - order.begin());
}

// --- guards ---

void SavedPosition::Restore() {
  done_ = true;
  if (bookmark_) set_.GotoBookmark(*bookmark_);
}

SavedPosition::~SavedPosition() {
  if (done_) return;
  try {
    Restore();
  } catch (const std::exception&) {
    done_ = true;  // the walk was left by an error, which is the one to report
  }
}

}  // namespace mox
