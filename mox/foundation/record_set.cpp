#include "mox/foundation/record_set.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <utility>

namespace mox {

namespace {

// Every beginning of every set has its own number, so that a bookmark knows the set it was taken from.
std::uint64_t NextEpoch() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

}  // namespace

// --- structure ---

void RecordSet::DefineField(FieldDef def) {
  if (IsActive()) throw StateError(Name() + ": fields are defined before the record set is opened");
  table_.Define(std::move(def));
}

void RecordSet::DefineField(std::string_view name, FieldKind kind, std::size_t size) {
  DefineField(FieldDef{.name = std::string(name), .kind = kind, .size = size});
}

// Cells that a listener wants to hear of are written slowly, one by one.
void RecordSet::BindWritable() {
  const bool open = now_.state == DataSetState::kEdit || now_.state == DataSetState::kInsert;
  const bool calculating = now_.state == DataSetState::kCalcFields;
  now_.writable = open && !now_.listening ? &UsualSlots()
                  : calculating           ? &table_.structure().slot_tables().calculated
                                          : &kNoSlots;
}

void RecordSet::BindWatched() {
  now_.listening = !events_.listeners.empty();
  now_.observed = now_.listening || events_.before_post != nullptr;
  now_.calculates = events_.calc_fields != nullptr;
  BindWritable();
}

// The table was opened, closed or filled anew.
void RecordSet::BeginAnew() {
  now_.epoch = NextEpoch();
  now_.state = table_.IsOpen() ? DataSetState::kBrowse : DataSetState::kInactive;
  now_.modified = now_.inserting = now_.filtered = false;
  events_.settled.Clear();
  visible_.clear();
  filter_.reset();
  BindWritable();
  BindRows();
  ShowNothing();
  Tell(IsActive() ? RecordSetChange::kReset : RecordSetChange::kClosed);
  if (now_.row_count > 0) First();
}

void RecordSet::Open() {
  if (IsActive()) return;
  table_.Open();
  BeginAnew();
}

void RecordSet::Close() {
  if (!IsActive()) return;
  RequireOutsideEvents("close");
  table_.Close();
  BeginAnew();
}

void RecordSet::ShowNothing() {
  now_.position = 0;
  // Nothing is writable while there is no record.
  now_.cells = const_cast<std::uint64_t*>(table_.BlankCells());
  now_.eof = true;
  now_.bof = true;
}

std::optional<Field> RecordSet::FindField(std::string_view name) {
  const auto index = FindFieldIndex(name);
  if (!index) return std::nullopt;
  return Field(*this, *index);
}

Field RecordSet::FieldByName(std::string_view name) {
  const auto index = FindFieldIndex(name);
  if (!index) throw FieldNotFound(name, Name());
  return Field(*this, *index);
}

Field RecordSet::FieldAt(std::size_t index) {
  table_.RequireField(index);
  return Field(*this, index);
}

FieldDef& RecordSet::MutableField(std::size_t index) {
  const bool shows_nothing = now_.cells == table_.BlankCells();
  FieldDef& field = table_.MutableField(index);
  BindWritable();
  if (shows_nothing) now_.cells = const_cast<std::uint64_t*>(table_.BlankCells());
  return field;
}

void RecordSet::SetDisplayName(std::size_t index, std::string display_name) {
  MutableField(index).display_name = std::move(display_name);
  Tell(RecordSetChange::kReset);
}

void RecordSet::SetDisplayFormat(std::size_t index, std::string mask) {
  MutableField(index).display_format = std::move(mask);
  Tell(RecordSetChange::kReset);
}

void RecordSet::SetRequired(std::size_t index, bool required) { MutableField(index).required = required; }

// --- records ---

void RecordSet::Clear() {
  if (now_.state != DataSetState::kBrowse) Cancel();
  RequireBrowsable("clear");
  if (table_.empty()) return;
  table_.Clear();
  events_.settled.Clear();
  visible_.clear();
  BindRows();
  ShowNothing();
  Tell(RecordSetChange::kReset);
}

void RecordSet::BeginInsert(std::size_t at) {
  now_.pending = table_.NewRecord();
  now_.pending_at = at;
  now_.cells = table_.Cells(now_.pending);
  now_.inserting = true;
  now_.state = DataSetState::kInsert;
  now_.modified = false;
  BindWritable();
  Tell(RecordSetChange::kInserted, PendingRow());
}

void RecordSet::Insert() {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  BeginInsert(now_.row_count == 0 ? table_.size() : OrderIndexOf(now_.rows[now_.position], now_.position));
}

void RecordSet::Append() {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  BeginInsert(table_.size());
}

void RecordSet::FillRecord(std::span<const Value> values) {
  try {
    if (values.size() > FieldCount()) {
      throw Error(Name() + ": " + std::to_string(values.size()) + " values for " +
                  std::to_string(FieldCount()) + " fields");
    }
    for (std::size_t i = 0; i < values.size(); ++i) SetVariant(i, values[i]);
    Post();
  } catch (...) {
    Cancel();
    throw;
  }
}

void RecordSet::InsertRecord(std::span<const Value> values) {
  Insert();
  FillRecord(values);
}

void RecordSet::AppendRecord(std::span<const Value> values) {
  Append();
  FillRecord(values);
}

// An error of the event is raised when all else is done: the record is posted, and those bound to the set
// know.
void RecordSet::PostObserved() {
  if (now_.state != DataSetState::kEdit && now_.state != DataSetState::kInsert) RequireEditing();
  if (events_.before_post) FireBeforePost();
  const bool inserted = now_.inserting;
  const RecordTable::Id record = CurrentRecord();
  if (inserted) table_.Place(now_.pending, now_.pending_at);
  EndEditing();
  if (!now_.filtered) BindRows();
  if (inserted && !now_.filtered) ShowRecord(now_.pending_at);
  std::exception_ptr failure;
  const auto attempt = [&failure](const auto& step) {
    try {
      step();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  if (now_.calculates) attempt([this, record] { FireCalcFields(record); });
  if (now_.filtered) {
    attempt([this, inserted] { FilterPosted(inserted); });
  } else {
    Tell(RecordSetChange::kRecord, now_.position);
  }
  table_.CompactTextsIfWorthIt();
  if (failure) std::rethrow_exception(failure);
}

void RecordSet::Cancel() {
  RequireUnchecked("cancel");
  if (now_.state == DataSetState::kEdit) {
    table_.UndoEdit();
    EndEditing();
    Tell(RecordSetChange::kRecord, now_.position);
  } else if (now_.state == DataSetState::kInsert) {
    const std::size_t row = PendingRow();
    table_.Drop(now_.pending);
    EndEditing();
    if (now_.row_count == 0) {
      ShowNothing();
    } else {
      ShowRecord(now_.position);
    }
    Tell(RecordSetChange::kRemoved, row);
  } else {
    return;
  }
  table_.CompactTextsIfWorthIt();
}

void RecordSet::Delete() {
  RequireUnchecked("delete");
  if (now_.state == DataSetState::kInsert) {
    Cancel();
    return;
  }
  if (now_.state == DataSetState::kEdit) Cancel();
  RequireBrowsable("delete");
  if (now_.row_count == 0) throw StateError(Name() + ": there is no record to delete");
  const std::size_t row = now_.position;
  const RecordTable::Id record = now_.rows[row];
  table_.Displace(OrderIndexOf(record, row));
  if (now_.filtered) visible_.erase(visible_.begin() + static_cast<std::ptrdiff_t>(row));
  table_.Drop(record);
  BindRows();
  if (now_.row_count == 0) {
    ShowNothing();
    Tell(RecordSetChange::kRemoved, row);
  } else {
    ShowRecord(std::min(row, now_.row_count - 1));
    Tell(RecordSetChange::kRemoved, row);
    BecameCurrent();
  }
}

// --- values of the current record ---

Value RecordSet::OldVariant(std::size_t index) const {
  const RecordRow current = Row();
  current.RequireIndex(index);
  if (now_.inserting) return {};
  if (!table_.IsUnderEdit()) return current.AsVariant(index);
  return table_.Row(table_.PostedCells(now_.rows[now_.position])).AsVariant(index);
}

void RecordSet::RequireWritable(std::size_t index) const {
  Row().RequireIndex(index);
  const bool calculating = now_.state == DataSetState::kCalcFields;
  const bool open = now_.state == DataSetState::kEdit || now_.state == DataSetState::kInsert;
  if (open || (calculating && Definition(index).calculated)) return;
  throw StateError(Definition(index).name +
                   (calculating ? ": inside the calculate-fields event only calculated fields are written"
                                : ": the record is not being edited or inserted"));
}

void RecordSet::Wrote(std::size_t index) {
  now_.modified = true;
  if (now_.listening && now_.state != DataSetState::kCalcFields) {
    Tell(RecordSetChange::kCell, CurrentRow(), index);
  }
}

void RecordSet::SetVariant(std::size_t index, const Value& value) {
  RequireWritable(index);
  table_.Write(now_.cells, index, value);
  Wrote(index);
}

void RecordSet::SetText(std::size_t index, std::string_view value) {
  RequireWritable(index);
  if (!HoldsText(Definition(index).kind)) return SetVariant(index, std::string(value));
  table_.WriteText(now_.cells, index, value);
  Wrote(index);
}

const std::string& Field::DisplayName() const {
  const FieldDef& field = set_->Definition(index_);
  return field.display_name.empty() ? field.name : field.display_name;
}

// --- copying ---

void RecordSet::CleanClone(const RecordSet& source) {
  if (&source == this) return;
  RequireOutsideEvents("clone");
  table_.CloneFrom(source.table_);
  BeginAnew();
}

void RecordSet::DataTransfer(const RecordSet& source) {
  if (&source == this) throw Error(Name() + ": a record set cannot be transferred into itself");
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  const auto current = GetBookmark();
  const std::size_t before = table_.size();
  table_.AppendFrom(source.table_);
  events_.settled.Clear();
  if (table_.size() > before) ShowAfterChange(current);
}

// --- events ---

// Inside the event the state is its own; afterwards, also when the event raised, it is what it was. Writing
// calculated fields does not count as a change of the record.
struct RecordSet::CalcGuard {
  explicit CalcGuard(RecordSet& record_set)
      : set(record_set), state(set.now_.state), modified(set.now_.modified) {
    set.now_.state = DataSetState::kCalcFields;
    set.now_.writable = &set.table_.structure().slot_tables().calculated;
  }
  ~CalcGuard() {
    set.now_.state = state;
    set.BindWritable();
    set.now_.modified = modified;
  }
  CalcGuard(const CalcGuard&) = delete;
  CalcGuard& operator=(const CalcGuard&) = delete;

  RecordSet& set;
  DataSetState state;
  bool modified;
};

// For the current record, of that number. A record whose edit may still be cancelled is never settled.
void RecordSet::FireCalcFields(RecordTable::Id record) {
  events_.settled.Remove(record);
  if (now_.calculation_paused > 0) return;
  const bool compares = now_.listening || events_.reads == CalcFieldsReads::kItsRecord;
  if (compares) before_calculation_.assign(now_.cells, now_.cells + table_.structure().record_words());
  {
    const CalcGuard guard(*this);
    events_.calc_fields(*this);
  }
  if (now_.state != DataSetState::kBrowse) return;
  const bool settled = events_.reads == CalcFieldsReads::kItsInputs ||
                       (events_.reads == CalcFieldsReads::kItsRecord &&
                        std::equal(before_calculation_.begin(), before_calculation_.end(), now_.cells));
  if (settled) events_.settled.Add(record);
  table_.CompactTextsIfWorthIt();
}

void RecordSet::FireBeforePost() {
  RequireUnchecked("post");
  struct Checking {
    explicit Checking(bool& flag) : checking(flag) { checking = true; }
    ~Checking() { checking = false; }
    Checking(const Checking&) = delete;
    Checking& operator=(const Checking&) = delete;
    bool& checking;
  } const guard(now_.checking);
  events_.before_post(*this);
}

void RecordSet::SetOnCalcFields(CalcFieldsEvent event, CalcFieldsReads reads) {
  RequireOutsideEvents("replace the event");
  events_.calc_fields = std::move(event);
  events_.reads = reads;
  events_.settled.Clear();
  BindWatched();
}

void RecordSet::SetOnBeforePost(BeforePostEvent event) {
  RequireOutsideEvents("replace the event");
  events_.before_post = std::move(event);
  BindWatched();
}

int RecordSet::AddListener(Listener listener) {
  const int id = events_.listeners.Add(std::move(listener));
  BindWatched();
  return id;
}

void RecordSet::RemoveListener(int id) {
  events_.listeners.Remove(id);
  BindWatched();
}

void RecordSet::Refresh() {
  RequireBrowsable("refresh");
  if (now_.calculates && RowCount() > 0) FireCalcFields(CurrentRecord());
  Tell(RecordSetChange::kReset);
}

}  // namespace mox
