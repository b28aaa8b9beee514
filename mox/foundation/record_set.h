#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/field.h"
#include "mox/foundation/left_as_new.h"
#include "mox/foundation/real.h"
#include "mox/foundation/record_calculation.h"
#include "mox/foundation/record_cursor.h"
#include "mox/foundation/record_listeners.h"
#include "mox/foundation/record_row.h"
#include "mox/foundation/record_state.h"
#include "mox/foundation/record_table.h"
#include "mox/foundation/vocabulary.h"

namespace mox {

class ConstField;
class Field;
class RowRange;

/// A table of records with named, typed fields, one current record and a state. The set owns its records and
/// is a movable value; what moves takes its events and listeners along. A set is used by one thread at a
/// time; sets share only what never changes, so that each thread may have its own.
///
/// Navigation fires the calculate-fields event for the record that becomes current. Leaving a record that is
/// being edited or inserted posts it when it was changed; an edit without a change ends, an insert that
/// nobody touched is dropped. A post that is refused keeps the record open, and nothing moves. Moving past
/// the last record sets Eof() and leaves the last record current. Reading where there is no record gives
/// null: 0, the empty text, 30 December 1899.
///
/// Fields are read and written by vocabulary name (`lines[field::pc]`), by Field, or by any name. Reading and
/// writing convert between the kinds; what cannot be converted raises ConversionError, an absent field
/// FieldNotFound, writing in the wrong state StateError. Texts are handed out as views that hold until the
/// set is changed or moved. A field that is written is not null afterwards.
class RecordSet {
 public:
  using CalcFieldsEvent = RecordCalculation::Event;
  using BeforePostEvent = std::function<void(RecordSet&)>;
  using Listener = Listeners::Listener;

  explicit RecordSet(std::string name = {}) { table_.name = std::move(name); }
  ~RecordSet() = default;
  RecordSet(RecordSet&& other) noexcept = default;
  /// Those that listen to this set go on listening to it, beside those that come along, and are told.
  RecordSet& operator=(RecordSet&& other) noexcept;
  RecordSet(const RecordSet&) = delete;
  RecordSet& operator=(const RecordSet&) = delete;

  /// The component name, under which the set travels to the server.
  const std::string& Name() const { return table_.name; }
  void SetName(std::string name) { table_.name = std::move(name); }

  // --- structure ---

  /// Only while the set is closed. Raises Error when the name is empty or taken.
  void DefineField(FieldDef def);
  void DefineField(std::string_view name, FieldKind kind, std::size_t size = 0);
  /// Opens the set without records; an open set stays as it is. Raises Error without fields.
  void Open();
  /// Drops all records and a pending edit. The fields stay defined.
  void Close();
  bool IsActive() const { return now_.state != DataSetState::kInactive; }

  std::size_t FieldCount() const { return table_.Fields().size(); }
  const FieldDef& Definition(std::size_t index) const { return table_.Fields().at(index); }
  /// Of a set that may not be changed, a column that is only read.
  std::optional<Field> FindField(std::string_view name);
  std::optional<ConstField> FindField(std::string_view name) const;
  Field FieldByName(std::string_view name);
  ConstField FieldByName(std::string_view name) const;
  Field FieldAt(std::size_t index);
  ConstField FieldAt(std::size_t index) const;
  std::optional<std::size_t> FindFieldIndex(std::string_view name) const { return table_.Find(name); }
  void SetDisplayName(std::size_t index, std::string display_name);
  void SetDisplayFormat(std::size_t index, std::string mask);
  void SetRequired(std::size_t index, bool required);

  /// Takes over the structure and copies of all records, in their order, unfiltered and without a pending
  /// edit. The name, the events and the listeners of this set stay.
  void CleanClone(const RecordSet& source);
  /// Appends copies of all records of another set; fields that both have are copied by name, converted where
  /// the kinds differ as by writing, the others are null. A value that cannot be converted raises
  /// ConversionError and leaves this set as it was. A pending edit of the other set is not part of it.
  void DataTransfer(const RecordSet& source);
  /// Deletes all records.
  void Clear();

  // --- navigation ---

  bool IsEmpty() const { return RecordCount() == 0; }
  std::size_t RecordCount() const { return cursor_.visible_count(); }
  bool Eof() const { return cursor_.eof(); }
  bool Bof() const { return cursor_.bof(); }
  /// Position of the current record among the visible ones, from 0.
  std::size_t Position() const { return cursor_.position(); }
  void First();
  void Next();
  void Prior();
  void Last();
  std::optional<Bookmark> GetBookmark() const { return cursor_.Remember(table_); }
  /// False, and nothing moved, when the record is gone or filtered out.
  bool GotoBookmark(const Bookmark& bookmark);

  /// Makes the first record whose key fields equal the values current; false, and nothing moved, when there
  /// is none. `names` are separated by ';'. Values are compared in the kind of their field; null equals null.
  bool Locate(std::string_view names, std::span<const Value> values, LocateOptions options = {});
  bool Locate(std::string_view names, std::initializer_list<Value> values, LocateOptions options = {}) {
    return Locate(names, std::span(values.begin(), values.size()), options);
  }
  bool Locate(FloatName name, double value) { return Locate(name.text, {Value(value)}); }

  /// For a walk over many records that reads few fields: asks the memory for those of the record that comes
  /// up some moves later, so that it is there by then.
  MOX_ALWAYS_INLINE void FetchAhead(std::span<const std::size_t> fields) const {
    cursor_.FetchAhead(table_, fields);
  }

  /// Makes a row current in one move; the current one stays as it is, also while it is edited or inserted.
  /// Raises Error when there is none at that place.
  void GoToRow(std::size_t row);

  // --- rows, read without moving, posting or firing ---

  /// The rows as a screen shows them: the visible records, and one that is being inserted in its place.
  std::size_t RowCount() const { return cursor_.RowCount(); }
  /// Which of them is current.
  std::size_t CurrentRow() const { return cursor_.CurrentRow(); }
  /// Its number among all records whatever the filter, from 1. Raises Error when there is none at that place.
  std::size_t NumberOfRow(std::size_t row) const { return cursor_.NumberOfRow(table_, row); }
  /// The record of such a number, remembered; none where there is no such record.
  std::optional<Bookmark> BookmarkOfNumber(std::size_t number) const {
    return cursor_.RememberNumber(table_, number);
  }
  /// Whether a remembered record is still in the set, whatever the filter.
  bool Holds(const Bookmark& bookmark) const { return cursor_.Holds(table_, bookmark); }
  /// A row with what is pending in it. Raises Error when there is none at that place.
  RecordRow RowAt(std::size_t row) const {
    return table_.Row(table_.Cells(cursor_.RecordOfRow(table_, row)));
  }
  /// All of them, in their order.
  RowRange Rows() const;
  /// All records whatever the filter, as they were posted.
  const RecordTable& Table() const { return table_; }
  /// The first row, from a place on, whose key fields equal the values, as Locate compares them. An insert
  /// that nobody touched is passed over.
  std::optional<std::size_t> FindRow(std::string_view names, std::span<const Value> values,
                                     LocateOptions options = {}, std::size_t from = 0) const;

  /// A filter `FIELD = 'text'` or `FIELD like '%text%'` (% stands for any text, _ for one character). The
  /// text reaches to the last apostrophe; a doubled one inside counts once. Raises Error for anything else,
  /// FieldNotFound for an unknown field. An empty expression is no filter. Switching it on or off, or
  /// replacing it while it is on, keeps the current record where it stays visible, else goes to the first.
  void SetFilter(std::string_view expression, bool case_insensitive = false);
  void SetFiltered(bool filtered);
  std::string Filter() const { return cursor_.filter() ? cursor_.filter()->expression() : std::string(); }
  bool IsFiltered() const { return cursor_.IsFiltered(); }

  // --- editing ---

  DataSetState State() const { return now_.state; }
  bool IsModified() const { return now_.modified; }
  void Edit();
  /// Begins a new record before the current one, or at the end.
  void Insert();
  void Append();
  /// A whole record, values in field order; fields beyond the values are null. A value that does not fit its
  /// field raises, and no record comes.
  void InsertRecord(std::span<const Value> values);
  void InsertRecord(std::initializer_list<Value> values) {
    InsertRecord(std::span(values.begin(), values.size()));
  }
  void AppendRecord(std::span<const Value> values);
  void AppendRecord(std::initializer_list<Value> values) {
    AppendRecord(std::span(values.begin(), values.size()));
  }
  /// Fires the before-post event, ends the edit or insert and fires the calculate-fields event. When the
  /// former raises, the record stays open with what was written; when the latter does, the record is posted
  /// all the same and the error ends its calculation.
  void Post();
  /// Ends an edit or insert as a move does; does nothing while browsing.
  void PostPending();
  /// Brings the record back as it was before the edit, or drops the insert.
  void Cancel();
  void Delete();

  // --- calculated fields and display ---

  /// Fired for a record that becomes current, after it was posted and on refresh. Inside, only fields defined
  /// as calculated may be written, and nothing moves. What the event reads tells when it need not run on a
  /// move; Refresh always runs it.
  void SetOnCalcFields(CalcFieldsEvent event, CalcFieldsReads reads = CalcFieldsReads::kAnything);
  /// Fired before a record is posted, by whatever posts it: a screen's checks. Abort, after a dialog, or an
  /// error cancels the post and the move that wanted it. Inside, the record may be written; nothing moves,
  /// posts or cancels.
  void SetOnBeforePost(BeforePostEvent event);
  /// Fires the event for the current record and tells the listeners to read everything anew.
  void Refresh();
  /// Whoever shows the set is told what changes. The answer names the listener when it is removed.
  int AddListener(Listener listener);
  void RemoveListener(int id);
  /// Nested, and best by ControlsGuard. While they are disabled the listeners hear nothing; after the last
  /// enabling they are told once of everything. Enabling them once too often raises StateError.
  void DisableControls() { listeners_.Disable(); }
  void EnableControls();
  bool ControlsDisabled() const { return listeners_.AreDisabled(); }
  /// Nested, and best by CalculationPause. Meanwhile the calculate-fields event does not run; a record posted
  /// then is calculated when it becomes current again. Resuming once too often raises StateError.
  void PauseCalculation() { calculation_.Pause(); }
  void ResumeCalculation();
  bool CalculationPaused() const { return calculation_.IsPaused(); }
  /// The before-post event is running.
  bool IsBeingChecked() const { return now_.checking; }
  /// The set is walked, checked or calculated: a screen that processes messages meanwhile leaves it alone.
  bool IsBusy() const {
    return ControlsDisabled() || IsBeingChecked() || now_.state == DataSetState::kCalcFields;
  }

  // --- values of the current record ---

  /// The current record with what is pending in it, which all of the following read.
  RecordRow Row() const { return table_.Row(cursor_.cells()); }

  Currency operator[](CurrencyName name) const { return Row()[name]; }
  Real operator[](FloatName name) const { return Row()[name]; }
  std::int64_t operator[](IntegerName name) const { return Row()[name]; }
  std::string operator[](TextName name) const { return Row()[name]; }
  Amount Price(PriceName name) const { return Row().Price(name); }
  Currency Optional(CurrencyName name) const { return Row().Optional(name); }
  Real Optional(FloatName name) const { return Row().Optional(name); }
  template <FieldKind K>
  bool Has(FieldName<K> name) const {
    return Row().Has(name);
  }

  bool IsNull(std::size_t index) const { return Row().IsNull(index); }
  double AsFloat(std::size_t index) const { return Row().AsFloat(index); }
  Currency AsCurrency(std::size_t index) const { return Row().AsCurrency(index); }
  std::int64_t AsInteger(std::size_t index) const { return Row().AsInteger(index); }
  bool AsBoolean(std::size_t index) const { return Row().AsBoolean(index); }
  Date AsDate(std::size_t index) const { return Row().AsDate(index); }
  DateTime AsDateTime(std::size_t index) const { return Row().AsDateTime(index); }
  std::string AsText(std::size_t index) const { return Row().AsText(index); }
  std::string_view AsTextView(std::size_t index) const { return Row().AsTextView(index); }
  Value AsVariant(std::size_t index) const { return Row().AsVariant(index); }
  std::string DisplayText(std::size_t index) const { return Row().DisplayText(index); }
  /// As it was before the pending edit; null in an insert.
  Value OldVariant(std::size_t index) const;

  void Set(CurrencyName name, Currency value);
  void Set(FloatName name, Real value);
  void Set(TextName name, std::string_view value) { SetText(Row().IndexOf(name.id), value); }

  void SetNull(std::size_t index) { SetVariant(index, {}); }
  void SetFloat(std::size_t index, double value);
  void SetCurrency(std::size_t index, Currency value);
  void SetInteger(std::size_t index, std::int64_t value);
  void SetBoolean(std::size_t index, bool value) { SetVariant(index, value); }
  void SetDate(std::size_t index, Date value) { SetVariant(index, value); }
  void SetDateTime(std::size_t index, DateTime value) { SetVariant(index, value); }
  void SetText(std::size_t index, std::string_view value);
  void SetVariant(std::size_t index, const Value& value);

  /// Writes a field of any record where it stands, as a check leaves its marks: nothing moves, is posted or
  /// calculated, and the rows stay those that the filter has let through. Who marks many records disables the
  /// controls meanwhile, so that those bound to the set read it once. Records are numbered as NumberOfRow
  /// does. Raises StateError for the one that is being edited, Error where there is none.
  void Mark(std::size_t number, std::size_t index, const Value& value);

  // --- text form, described in docs/FORMATS.md ---

  /// All records, whatever the filter. A pending edit is not part of it.
  std::string SaveToString() const;
  /// Takes over name, structure and records. Raises FormatError that says where the text is damaged, and
  /// leaves the set as it was.
  void LoadFromString(std::string_view text);
  void SaveToFile(const std::string& path) const;
  void LoadFromFile(const std::string& path);

  /// The current record as formulas go over it, with what the state lets them write; holds until the set
  /// moves or changes its state.
  struct OpenLine {
    const SlotTable& readable;
    const SlotTable& writable;
    std::uint64_t* cells;
    NullMark* marks;
    bool* modified;
  };
  OpenLine Line() {
    std::uint64_t* const cells = cursor_.cells();
    return {UsualSlots(), *now_.writable, cells, table_.Marks(cells), &now_.modified};
  }

  /// Bytes held for records and texts.
  std::size_t MemoryBytes() const { return table_.MemoryBytes() + cursor_.MemoryBytes(); }

 private:
  struct CalcGuard;

  // What the set is doing. What every write of the current record needs comes first.
  struct Standing {
    const SlotTable* writable = &kNoSlots;  // what the state lets a formula write
    bool modified = false;
    bool calculates = false;  // the calculate-fields event is set
    bool listening = false;   // a listener is set
    bool observed = false;    // a listener or the before-post event is set
    bool checking = false;    // inside the before-post event
    DataSetState state = DataSetState::kInactive;
    BeforePostEvent before_post;
  };

  // structure
  const SlotTable& UsualSlots() const { return table_.structure().slot_tables().usual; }
  FieldDef& MutableField(std::size_t index);
  void BindWritable();
  void BindWatched();
  void BeginAnew();

  // what the state allows
  bool IsOpenForChange() const {
    return now_.state == DataSetState::kEdit || now_.state == DataSetState::kInsert;
  }
  void RequireBrowsable(const char* what) const;
  void RequireUnchecked(const char* what) const;
  void RequireOutsideEvents(const char* what) const;
  void RequireEditable() const;
  void RequireEditing() const;

  // moving
  // A record that is open for change is posted, or its insert dropped.
  void Leave() {
    if (now_.state != DataSetState::kBrowse) LeaveRecord();
  }
  void LeaveRecord();
  // Leaves the record, and moves on unless leaving already did: a record that its change took out of the
  // filter is followed by the next one.
  void LeaveForNext();
  void BecameCurrent();
  void TellOfMove();
  void MoveTo(std::size_t position);
  void ShowVisible(const std::optional<Bookmark>& current);

  // editing
  void BeginInsert(bool at_end);
  void FillRecord(std::span<const Value> values);
  void PostObserved();
  void EndEditing();

  // events
  RecordCalculation::Cells CurrentCells() const {
    return {cursor_.cells(), table_.structure().record_words()};
  }
  void FireCalcFields(RecordTable::Id record);
  void FireBeforePost();
  void Tell(RecordSetChange::Kind kind, std::size_t row = 0, std::size_t field = 0) {
    if (now_.listening) listeners_.Tell(*this, {kind, row, field});
  }

  // values
  void SetSlowly(NameId id, const Value& value) { SetVariant(Row().IndexOf(id), value); }
  template <typename Number>
  void SetNumber(std::size_t index, FieldKind kind, std::uint64_t bits, Number value);
  void RequireWritable(std::size_t index) const;
  void Wrote(std::size_t index);

  LeftAsNew<Standing> now_;
  LeftAsNew<RecordCursor> cursor_;
  LeftAsNew<RecordTable> table_;
  LeftAsNew<RecordCalculation> calculation_;
  LeftAsNew<Listeners> listeners_;
};

}  // namespace mox

#include "mox/foundation/record_field.h"
#include "mox/foundation/record_set_inline.h"
#include "mox/foundation/record_walk.h"
