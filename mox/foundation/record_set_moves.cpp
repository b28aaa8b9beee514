#include <exception>
#include <memory>

#include "mox/foundation/record_set.h"
#include "mox/foundation/text.h"

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
  if (IsOpenForChange()) return;
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
    Tell(RecordSetChange::kRecord, Position());
  } else {
    Cancel();
  }
}

// --- moving ---

// A move is made and told of also when the event of the record raises.
void RecordSet::TellOfMove() {
  std::exception_ptr failure;
  const RecordTable::Id record = cursor_.CurrentRecord();
  calculation_.ForgetWhatItWas();
  if (now_.calculates && calculation_.IsDue(record)) {
    try {
      FireCalcFields(record);
    } catch (...) {
      failure = std::current_exception();
    }
  }
  if (calculation_.Changed(CurrentCells())) Tell(RecordSetChange::kRecord, Position());
  Tell(RecordSetChange::kMoved, Position());
  if (failure) std::rethrow_exception(failure);
}

void RecordSet::Prior() {
  Leave();
  if (cursor_.ToPrior(table_)) BecameCurrent();
}

void RecordSet::Last() {
  Leave();
  if (cursor_.ToLast(table_)) BecameCurrent();
}

void RecordSet::GoToRow(std::size_t row) {
  const RecordTable::Id record = cursor_.RecordOfRow(table_, row);
  if (row == CurrentRow()) return;
  Leave();
  MoveTo(*cursor_.PlaceOf(record, row > 0 ? row - 1 : 0));
}

bool RecordSet::GotoBookmark(const Bookmark& bookmark) {
  Leave();
  const auto position = cursor_.PlaceOf(table_, bookmark);
  if (position) MoveTo(*position);
  return position.has_value();
}

std::optional<std::size_t> RecordSet::FindRow(std::string_view names, std::span<const Value> values,
                                              LocateOptions options, std::size_t from) const {
  return cursor_.FindRow(table_, RecordKey(table_, names, values, options), from, !now_.modified);
}

bool RecordSet::Locate(std::string_view names, std::span<const Value> values, LocateOptions options) {
  Leave();
  const auto row = FindRow(names, values, options);
  if (row) MoveTo(*row);
  return row.has_value();
}

// --- the filter ---

void RecordSet::SetFilter(std::string_view expression, bool case_insensitive) {
  std::unique_ptr<RecordFilter> filter;
  if (!TrimBlanks(expression).empty()) {
    filter = std::make_unique<RecordFilter>(expression, case_insensitive);
    filter->SetFieldIndex(table_.IndexOf(filter->field()));
  }
  Leave();
  cursor_.SetFilter(std::move(filter));
  if (IsFiltered()) SetFiltered(true);
}

void RecordSet::SetFiltered(bool filtered) {
  Leave();
  const auto current = GetBookmark();
  cursor_.SetFiltered(filtered);
  ShowVisible(current);
}

// Other records are visible than before; the current one is kept where it is among them.
void RecordSet::ShowVisible(const std::optional<Bookmark>& current) {
  const bool kept = cursor_.ShowVisible(table_, current);
  Tell(RecordSetChange::kReset);
  if (!kept && !IsEmpty()) BecameCurrent();
}

void RecordSet::LeaveForNext() {
  const std::size_t visible_before = RecordCount();
  const bool posted_insert = now_.state == DataSetState::kInsert && now_.modified;
  const bool editing = now_.state == DataSetState::kEdit;
  const bool was_last = Position() + 1 >= visible_before;
  const bool at_end = cursor_.InsertsAtEnd();
  LeaveRecord();
  if (editing && RecordCount() < visible_before) {
    if (was_last) cursor_.MarkEof();
  } else if (posted_insert && RecordCount() == visible_before) {
    if (at_end) cursor_.MarkEof();  // the new record is filtered out: the one after it is current
  } else {
    Next();
  }
}

}  // namespace mox
