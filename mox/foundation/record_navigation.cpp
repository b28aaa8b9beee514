#include <algorithm>
#include <exception>

#include "mox/foundation/record_filter.h"
#include "mox/foundation/record_set.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

// --- leaving and entering records ---

void RecordSet::RequireBrowsable(const char* what) const {
  if (state_ == DataSetState::kInactive)
    throw StateError(name_ + ": cannot " + what + ", the record set is closed");
  if (state_ == DataSetState::kCalcFields) {
    throw StateError(name_ + ": cannot " + what + " inside the calculate-fields event");
  }
}

// The record that the before-post event looks at stays where it is.
void RecordSet::RequireUnchecked(const char* what) const {
  if (checking_) throw StateError(name_ + ": cannot " + what + " inside the before-post event");
}

void RecordSet::RequireOutsideEvents(const char* what) const {
  if (state_ == DataSetState::kCalcFields) RequireBrowsable(what);
  RequireUnchecked(what);
}

void RecordSet::RequireEditable() const {
  if (state_ == DataSetState::kEdit || state_ == DataSetState::kInsert) return;
  RequireBrowsable("edit");
  throw StateError(name_ + ": there is no record to edit");
}

void RecordSet::RequireEditing() const {
  RequireBrowsable("post");
  throw StateError(name_ + ": cannot post, no record is being edited or inserted");
}

void RecordSet::LeaveRecord() {
  RequireBrowsable("move");
  RequireUnchecked("move");
  if (state_ == DataSetState::kBrowse) return;
  if (modified_) {
    Post();
  } else if (state_ == DataSetState::kEdit) {
    if (replaced_text_) DropReplacedTexts(cells_, undo_.data());
    EndEditing();  // what the event calculated meanwhile stays
  } else {
    Cancel();
  }
}

// Inside the event the state is its own; afterwards, also when the event raised, it is what it was. Writing
// calculated fields does not count as a change of the record.
struct RecordSet::StateGuard {
  explicit StateGuard(RecordSet& record_set) : set(record_set), state(set.state_), modified(set.modified_) {
    set.state_ = DataSetState::kCalcFields;
    set.BindWritable();
  }
  ~StateGuard() {
    set.state_ = state;
    set.BindWritable();
    set.modified_ = modified;
  }
  StateGuard(const StateGuard&) = delete;
  StateGuard& operator=(const StateGuard&) = delete;

  RecordSet& set;
  DataSetState state;
  bool modified;
};

void RecordSet::FireCalcFields() {
  {
    const StateGuard guard(*this);
    on_calc_fields_(*this);
  }
  if (state_ == DataSetState::kBrowse) CompactTextsIfWorthIt();
}

void RecordSet::FireBeforePost() {
  RequireUnchecked("post");
  struct Checking {
    explicit Checking(bool& flag) : checking(flag) { checking = true; }
    ~Checking() { checking = false; }
    Checking(const Checking&) = delete;
    Checking& operator=(const Checking&) = delete;
    bool& checking;
  } const guard(checking_);
  on_before_post_(*this);
}

void RecordSet::SetOnCalcFields(CalcFieldsEvent event) {
  RequireOutsideEvents("replace the event");
  on_calc_fields_ = std::move(event);
  BindWatched();
}

void RecordSet::SetOnBeforePost(BeforePostEvent event) {
  RequireOutsideEvents("replace the event");
  on_before_post_ = std::move(event);
  BindWatched();
}

void RecordSet::SetListener(Listener listener) {
  listener_ = std::move(listener);
  BindWatched();
}

void RecordSet::Notify(RecordSetChange change) {
  if (!listener_) return;
  if (controls_disabled_ > 0) {
    changed_unseen_ = true;
  } else {
    listener_(*this, change);
  }
}

void RecordSet::Refresh() {
  RequireBrowsable("refresh");
  if (on_calc_fields_ && (row_count_ > 0 || state_ == DataSetState::kInsert)) FireCalcFields();
  Notify(RecordSetChange::kRecords);
}

// --- moving ---

void RecordSet::Prior() {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  if (row_count_ > 0 && position_ > 0) {
    MoveTo(position_ - 1);
  } else {
    bof_ = true;
  }
}

void RecordSet::Last() {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  if (row_count_ == 0) return;
  MoveTo(row_count_ - 1);
  eof_ = true;
}

std::optional<Bookmark> RecordSet::GetBookmark() const {
  const bool inserting = state_ == DataSetState::kInsert;
  if (row_count_ == 0 && !inserting) return std::nullopt;
  const std::uint32_t record = inserting ? pending_ : rows_[position_];
  return Bookmark{record, slabs_.GenerationOf(record), epoch_, inserting ? pending_at_ : position_};
}

bool RecordSet::GotoBookmark(const Bookmark& bookmark) {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  std::size_t at = bookmark.position;
  if (at >= row_count_ || rows_[at] != bookmark.record) {
    at = static_cast<std::size_t>(std::find(rows_, rows_ + row_count_, bookmark.record) - rows_);
  }
  if (at == row_count_ || epoch_ != bookmark.epoch ||
      slabs_.GenerationOf(bookmark.record) != bookmark.generation) {
    return false;
  }
  MoveTo(at);
  return true;
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
    if (!index) throw FieldNotFound(name, name_);
    if (keys.size() == values.size()) throw Error(name_ + ": locate has more fields than values");
    keys.push_back(MakeKey(*index, Definition(*index).kind, values[keys.size()], options));
  }
  if (keys.size() != values.size()) throw Error(name_ + ": locate has more values than fields");
  const bool untouched_insert = state_ == DataSetState::kInsert && !modified_;
  for (std::size_t row = from; row < RowCount(); ++row) {
    if (untouched_insert && row == PendingRow()) continue;
    const std::uint64_t* const cells = CellsOfRow(row);
    const bool found = std::all_of(keys.begin(), keys.end(), [&](const Key& key) {
      const bool null = IsNullCell(cells, key.index);
      return null == key.null && (null || key.Matches(cells[key.index]));
    });
    if (found) return row;
  }
  return std::nullopt;
}

bool RecordSet::Locate(std::string_view names, std::span<const Value> values, LocateOptions options) {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  const auto row = FindRow(names, values, options);
  if (row) MoveTo(*row);
  return row.has_value();
}

// --- the filter ---

std::string RecordSet::Filter() const { return filter_ ? filter_->expression() : std::string(); }

void RecordSet::SetFilter(std::string_view expression, bool case_insensitive) {
  std::unique_ptr<RecordFilter> filter;
  if (!TrimBlanks(expression).empty()) {
    filter = std::make_unique<RecordFilter>(expression, case_insensitive);
    const auto index = FindFieldIndex(filter->field());
    if (!index) throw FieldNotFound(filter->field(), name_);
    filter->SetFieldIndex(*index);
  }
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  filter_ = std::move(filter);
  if (filtered_) SetFiltered(true);
}

void RecordSet::SetFiltered(bool filtered) {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  const auto current = row_count_ > 0 ? std::optional(rows_[position_]) : std::nullopt;
  filtered_ = filtered;
  ShowAfterChange(current);
}

bool RecordSet::IsVisible(const std::uint64_t* cells) const {
  if (!filter_) return true;
  const std::size_t index = filter_->field_index();
  return HoldsText(KindOf(index)) ? filter_->Matches(TextArena::Get(cells[index]))
                                  : filter_->Matches(RowOf(cells).AsText(index));
}

void RecordSet::RebuildVisible() {
  visible_.clear();
  if (!filtered_) return;
  std::copy_if(order_.begin(), order_.end(), std::back_inserter(visible_),
               [&](std::uint32_t record) { return IsVisible(CellsOf(record)); });
}

void RecordSet::ShowAfterChange(std::optional<std::uint32_t> current) {
  RebuildVisible();
  Rebind();
  const std::uint32_t* const end = rows_ + row_count_;
  const std::uint32_t* const kept = current ? std::find(rows_, end, *current) : end;
  if (row_count_ == 0) {
    ShowNothing();
  } else if (kept != end) {
    ShowRecord(static_cast<std::size_t>(kept - rows_));
  } else {
    First();
  }
  Notify(RecordSetChange::kRecords);
}

// The record just posted stands in its place among the visible ones, or leaves them.
void RecordSet::FilterPosted(bool inserted) {
  const std::uint32_t record = inserted ? pending_ : rows_[position_];
  const bool visible = IsVisible(CellsOf(record));
  std::size_t at = position_;
  if (inserted && visible) {
    if (pending_at_ + 1 == order_.size()) at = visible_.size();
    visible_.insert(visible_.begin() + static_cast<std::ptrdiff_t>(at), record);
  } else if (!inserted && !visible) {
    visible_.erase(visible_.begin() + static_cast<std::ptrdiff_t>(at));
  }
  Rebind();
  if (row_count_ == 0) {
    ShowNothing();
  } else if (visible) {
    ShowRecord(at);
  } else {
    MoveTo(std::min(at, row_count_ - 1));
  }
}

void RecordSet::LeaveForNext() {
  const std::size_t visible_before = row_count_;
  const bool posted_insert = state_ == DataSetState::kInsert && modified_;
  const bool editing = state_ == DataSetState::kEdit;
  const bool was_last = position_ + 1 >= visible_before;
  const bool at_end = pending_at_ == order_.size();
  LeaveRecord();
  if (editing && row_count_ < visible_before) {
    eof_ = eof_ || was_last;
  } else if (posted_insert && row_count_ == visible_before) {
    eof_ = eof_ || at_end;  // the new record is filtered out: the one after it is current
  } else {
    Next();
  }
}

std::size_t RecordSet::OrderIndexOf(std::uint32_t record, std::size_t hint) const {
  if (!filtered_) return hint;
  const auto from = order_.begin() + static_cast<std::ptrdiff_t>(hint);
  return static_cast<std::size_t>(std::find(from, order_.end(), record) - order_.begin());
}

// --- guards ---

ControlsGuard::~ControlsGuard() {
  if (--set_.controls_disabled_ > 0 || !set_.changed_unseen_) return;
  set_.changed_unseen_ = false;
  set_.Notify(RecordSetChange::kRecords);
}

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
