#include "mox/foundation/record_set.h"

#include <bit>
#include <cmath>
#include <exception>
#include <memory>
#include <utility>

namespace mox {

RecordSet& RecordSet::operator=(RecordSet&& other) noexcept {
  if (this == &other) return *this;
  Listeners staying = std::move(listeners_);
  std::destroy_at(this);
  std::construct_at(this, std::move(other));
  staying.Join(std::move(listeners_));
  listeners_ = std::move(staying);
  BindWatched();
  Tell(IsActive() ? RecordSetChange::kReset : RecordSetChange::kClosed);
  return *this;
}

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
  const bool calculating = now_.state == DataSetState::kCalcFields;
  now_.writable = IsOpenForChange() && !now_.listening ? &UsualSlots()
                  : calculating                        ? &table_.structure().slot_tables().calculated
                                                       : &kNoSlots;
}

void RecordSet::BindWatched() {
  now_.listening = !listeners_.empty();
  now_.observed = now_.listening || now_.before_post != nullptr;
  now_.calculates = calculation_.HasEvent();
  BindWritable();
}

// The table was opened, closed or filled anew.
void RecordSet::BeginAnew() {
  now_.state = table_.IsOpen() ? DataSetState::kBrowse : DataSetState::kInactive;
  now_.modified = false;
  calculation_.ForgetSettled();
  BindWritable();
  cursor_.StartAnew(table_);
  Tell(IsActive() ? RecordSetChange::kReset : RecordSetChange::kClosed);
  if (!IsEmpty()) First();
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

std::optional<Field> RecordSet::FindField(std::string_view name) {
  const auto index = FindFieldIndex(name);
  return index ? std::optional(Field(*this, *index)) : std::nullopt;
}

std::optional<ConstField> RecordSet::FindField(std::string_view name) const {
  const auto index = FindFieldIndex(name);
  return index ? std::optional(ConstField(*this, *index)) : std::nullopt;
}

Field RecordSet::FieldByName(std::string_view name) { return {*this, table_.IndexOf(name)}; }
ConstField RecordSet::FieldByName(std::string_view name) const { return {*this, table_.IndexOf(name)}; }

Field RecordSet::FieldAt(std::size_t index) {
  table_.RequireField(index);
  return {*this, index};
}

ConstField RecordSet::FieldAt(std::size_t index) const {
  table_.RequireField(index);
  return {*this, index};
}

FieldDef& RecordSet::MutableField(std::size_t index) {
  const bool shows_nothing = cursor_.cells() == table_.BlankCells();
  FieldDef& field = table_.MutableField(index);
  BindWritable();
  if (shows_nothing) cursor_.ShowNothing(table_);
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

void RecordSet::SetRequired(std::size_t index, bool required) {
  MutableField(index).required = required;
  Tell(RecordSetChange::kReset);
}

// --- records ---

void RecordSet::Clear() {
  if (now_.state != DataSetState::kBrowse) Cancel();
  RequireBrowsable("clear");
  if (table_.empty()) return;
  table_.Clear();
  calculation_.ForgetSettled();
  ShowVisible(std::nullopt);
}

void RecordSet::BeginInsert(bool at_end) {
  Leave();
  cursor_.BeginInsert(table_, at_end);
  now_.state = DataSetState::kInsert;
  now_.modified = false;
  BindWritable();
  Tell(RecordSetChange::kInserted, CurrentRow());
}

void RecordSet::Insert() { BeginInsert(false); }
void RecordSet::Append() { BeginInsert(true); }

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
  if (!IsOpenForChange()) RequireEditing();
  if (now_.before_post) FireBeforePost();
  const bool inserted = cursor_.inserting();
  const RecordTable::Id record = cursor_.CurrentRecord();
  if (inserted) cursor_.PlaceInsert(table_);
  EndEditing();
  if (!IsFiltered()) cursor_.ShowPosted(table_, inserted);
  std::exception_ptr failure;
  const auto attempt = [&failure](const auto& step) {
    try {
      step();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  if (now_.calculates) attempt([this, record] { FireCalcFields(record); });
  if (IsFiltered()) {
    const auto [row, visible] = cursor_.FilterPosted(table_, inserted);
    Tell(visible ? RecordSetChange::kRecord : RecordSetChange::kRemoved, row);
    if (!visible && !IsEmpty()) attempt([this] { BecameCurrent(); });
  } else {
    Tell(RecordSetChange::kRecord, Position());
  }
  table_.CompactTextsIfWorthIt();
  if (failure) std::rethrow_exception(failure);
}

void RecordSet::Cancel() {
  RequireUnchecked("cancel");
  if (!IsOpenForChange()) return;
  const std::size_t row = CurrentRow();
  const bool inserted = now_.state == DataSetState::kInsert;
  if (inserted) {
    cursor_.DropInsert(table_);
  } else {
    table_.UndoEdit();
  }
  EndEditing();
  Tell(inserted ? RecordSetChange::kRemoved : RecordSetChange::kRecord, row);
  if (inserted && !IsEmpty()) Tell(RecordSetChange::kMoved, CurrentRow());
  table_.CompactTextsIfWorthIt();
}

void RecordSet::Delete() {
  RequireUnchecked("delete");
  const bool inserted = now_.state == DataSetState::kInsert;
  Cancel();
  if (inserted) return;
  RequireBrowsable("delete");
  if (IsEmpty()) throw StateError(Name() + ": there is no record to delete");
  const std::size_t row = Position();
  cursor_.Delete(table_);
  Tell(RecordSetChange::kRemoved, row);
  if (!IsEmpty()) BecameCurrent();
}

// --- values of the current record ---

Value RecordSet::OldVariant(std::size_t index) const {
  const RecordRow current = Row();
  current.RequireIndex(index);
  if (cursor_.inserting()) return {};
  if (!table_.IsUnderEdit()) return current.AsVariant(index);
  return table_.Row(table_.PostedCells(cursor_.CurrentRecord())).AsVariant(index);
}

void RecordSet::RequireWritable(std::size_t index) const {
  Row().RequireIndex(index);
  const bool calculating = now_.state == DataSetState::kCalcFields;
  if (IsOpenForChange() || (calculating && Definition(index).calculated)) return;
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
  table_.Write(cursor_.cells(), index, value);
  Wrote(index);
}

// In a field of its own kind a number is its cell.
template <typename Number>
void RecordSet::SetNumber(std::size_t index, FieldKind kind, std::uint64_t bits, Number value) {
  RequireWritable(index);
  if (Definition(index).kind == kind) {
    table_.WriteBits(cursor_.cells(), index, bits);
  } else {
    table_.Write(cursor_.cells(), index, value);
  }
  Wrote(index);
}

void RecordSet::SetFloat(std::size_t index, double value) {
  if (!std::isfinite(value)) return SetVariant(index, value);  // which refuses it
  SetNumber(index, FieldKind::kFloat, std::bit_cast<std::uint64_t>(value), value);
}

void RecordSet::SetCurrency(std::size_t index, Currency value) {
  SetNumber(index, FieldKind::kCurrency, static_cast<std::uint64_t>(value.scaled()), value);
}

void RecordSet::SetInteger(std::size_t index, std::int64_t value) {
  SetNumber(index, FieldKind::kInteger, static_cast<std::uint64_t>(value), value);
}

void RecordSet::SetText(std::size_t index, std::string_view value) {
  RequireWritable(index);
  if (!HoldsText(Definition(index).kind)) return SetVariant(index, std::string(value));
  table_.WriteText(cursor_.cells(), index, value);
  Wrote(index);
}

void RecordSet::Mark(std::size_t number, std::size_t index, const Value& value) {
  RequireOutsideEvents("mark");
  const auto place = cursor_.RememberNumber(table_, number);
  if (!place) {
    throw Error(Name() + ": there is no record " + std::to_string(number) + " of " +
                std::to_string(table_.size() + (cursor_.inserting() ? 1 : 0)));
  }
  table_.RequireField(index);
  const RecordTable::Id record = place->record;
  if (IsOpenForChange() && record == cursor_.CurrentRecord()) {
    throw StateError(Name() + ": a record that is being edited is not marked");
  }
  table_.Write(table_.Cells(record), index, value);
  calculation_.Unsettle(record);
  Tell(RecordSetChange::kReset);
  // What is open refers to texts outside the order: those of its undo, or of a record without a place.
  if (!IsOpenForChange()) table_.CompactTextsIfWorthIt();
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
  Leave();
  const auto current = GetBookmark();
  const std::size_t before = table_.size();
  table_.AppendFrom(source.table_);
  calculation_.ForgetSettled();
  if (table_.size() > before) ShowVisible(current);
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
  if (!calculation_.Begin(record, CurrentCells(), now_.listening)) return;
  {
    const CalcGuard guard(*this);
    calculation_.Run(*this);
  }
  if (now_.state != DataSetState::kBrowse) return;
  calculation_.Settle(record, CurrentCells());
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
  now_.before_post(*this);
}

void RecordSet::SetOnCalcFields(CalcFieldsEvent event, CalcFieldsReads reads) {
  RequireOutsideEvents("replace the event");
  calculation_.SetEvent(std::move(event), reads);
  BindWatched();
}

void RecordSet::SetOnBeforePost(BeforePostEvent event) {
  RequireOutsideEvents("replace the event");
  now_.before_post = std::move(event);
  BindWatched();
}

int RecordSet::AddListener(Listener listener) {
  const int id = listeners_.Add(std::move(listener));
  BindWatched();
  return id;
}

void RecordSet::RemoveListener(int id) {
  listeners_.Remove(id);
  BindWatched();
}

void RecordSet::EnableControls() {
  if (!ControlsDisabled())
    throw StateError(Name() + ": the controls are enabled without having been disabled");
  listeners_.Enable(*this);
}

void RecordSet::ResumeCalculation() {
  if (!calculation_.IsPaused()) throw StateError(Name() + ": the calculation is resumed without a pause");
  calculation_.Resume();
}

void RecordSet::Refresh() {
  RequireBrowsable("refresh");
  try {
    if (now_.calculates && RowCount() > 0) FireCalcFields(cursor_.CurrentRecord());
  } catch (...) {
    Tell(RecordSetChange::kReset);  // of what the event wrote before it raised
    throw;
  }
  Tell(RecordSetChange::kReset);
}

}  // namespace mox
