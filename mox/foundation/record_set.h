#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mox/foundation/error.h"
#include "mox/foundation/field.h"
#include "mox/foundation/listeners.h"
#include "mox/foundation/real.h"
#include "mox/foundation/record_filter.h"
#include "mox/foundation/record_row.h"
#include "mox/foundation/record_table.h"
#include "mox/foundation/settled_records.h"
#include "mox/foundation/vocabulary.h"

namespace mox {

class Field;
class RowRange;

/// The states of a record set, in the order of the screens' framework. A set here is inactive, browsing,
/// editing, inserting or inside its calculate-fields event; the others exist for their names.
enum class DataSetState : std::uint8_t {
  kInactive,
  kBrowse,
  kEdit,
  kInsert,
  kSetKey,
  kCalcFields,
  kFilter,
  kNewValue,
  kOldValue,
  kCurValue,
  kBlockRead,
  kInternalCalc,
  kOpening
};

/// A remembered record. It stays good while records come and go, until its own is deleted or the set is
/// closed, loaded or cloned anew.
struct Bookmark {
  std::uint32_t record = 0;
  std::uint32_t generation = 0;
  std::uint64_t epoch = 0;
  std::size_t position = 0;
};

struct LocateOptions {
  bool case_insensitive = false;
};

/// A table of records with named, typed fields, one current record and a state. The set owns its records and
/// is a movable value. A set is used by one thread at a time; sets share only what never changes, so that
/// each thread may have its own.
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
  using CalcFieldsEvent = std::function<void(RecordSet&)>;
  using BeforePostEvent = std::function<void(RecordSet&)>;
  using Listener = Listeners::Listener;

  explicit RecordSet(std::string name = {}) { table_.name = std::move(name); }
  ~RecordSet() = default;
  RecordSet(RecordSet&& other) noexcept = default;
  RecordSet& operator=(RecordSet&& other) noexcept = default;
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
  std::optional<Field> FindField(std::string_view name);
  Field FieldByName(std::string_view name);
  Field FieldAt(std::size_t index);
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

  bool IsEmpty() const { return now_.row_count == 0; }
  std::size_t RecordCount() const { return now_.row_count; }
  bool Eof() const { return now_.eof; }
  bool Bof() const { return now_.bof; }
  /// Position of the current record among the visible ones, from 0.
  std::size_t Position() const { return now_.position; }
  void First();
  void Next();
  void Prior();
  void Last();
  std::optional<Bookmark> GetBookmark() const;
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
    const std::size_t row = now_.position + kFetchedAhead;
    if (row < now_.row_count) table_.Fetch(now_.rows[row], fields);
  }

  /// Makes a row current in one move; the current one stays as it is, also while it is edited or inserted.
  /// Raises Error when there is none at that place.
  void GoToRow(std::size_t row);

  // --- rows, read without moving, posting or firing ---

  /// The rows as a screen shows them: the visible records, and one that is being inserted in its place.
  std::size_t RowCount() const { return now_.row_count + (now_.inserting ? 1U : 0U); }
  /// Which of them is current.
  std::size_t CurrentRow() const { return now_.inserting ? PendingRow() : now_.position; }
  /// Its number among all records whatever the filter, from 1. Raises Error when there is none at that place.
  std::size_t NumberOfRow(std::size_t row) const;
  /// A row with what is pending in it. Raises Error when there is none at that place.
  RecordRow RowAt(std::size_t row) const;
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
  std::string Filter() const { return filter_ ? filter_->expression() : std::string(); }
  bool IsFiltered() const { return now_.filtered; }

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
  /// enabling they are told once of everything.
  void DisableControls() { events_.listeners.Disable(); }
  void EnableControls() { events_.listeners.Enable(*this); }
  bool ControlsDisabled() const { return events_.listeners.AreDisabled(); }
  /// Nested, and best by CalculationPause. Meanwhile the calculate-fields event does not run; a record posted
  /// then is calculated when it becomes current again.
  void PauseCalculation() { ++now_.calculation_paused; }
  void ResumeCalculation() { --now_.calculation_paused; }
  /// The before-post event is running.
  bool IsBeingChecked() const { return now_.checking; }
  /// The set is walked, checked or calculated: a screen that processes messages meanwhile leaves it alone.
  bool IsBusy() const {
    return ControlsDisabled() || IsBeingChecked() || now_.state == DataSetState::kCalcFields;
  }

  // --- values of the current record ---

  /// The current record with what is pending in it, which all of the following read.
  RecordRow Row() const { return table_.Row(now_.cells); }

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
  void SetFloat(std::size_t index, double value) { SetVariant(index, value); }
  void SetCurrency(std::size_t index, Currency value) { SetVariant(index, value); }
  void SetInteger(std::size_t index, std::int64_t value) { SetVariant(index, value); }
  void SetBoolean(std::size_t index, bool value) { SetVariant(index, value); }
  void SetDate(std::size_t index, Date value) { SetVariant(index, value); }
  void SetDateTime(std::size_t index, DateTime value) { SetVariant(index, value); }
  void SetText(std::size_t index, std::string_view value);
  void SetVariant(std::size_t index, const Value& value);

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
    return {UsualSlots(), *now_.writable, now_.cells, table_.Marks(now_.cells), &now_.modified};
  }

  /// Bytes held for records and texts.
  std::size_t MemoryBytes() const {
    return table_.MemoryBytes() + visible_.capacity() * sizeof(RecordTable::Id);
  }

 private:
  static constexpr std::size_t kFetchedAhead = 12;  // records, about as long as a word from memory takes

  struct CalcGuard;

  // Where the set stands. What every read and write of the current record needs comes first.
  struct Standing {
    const SlotTable* writable = &kNoSlots;  // what the state lets a formula write
    std::uint64_t* cells = nullptr;
    bool modified = false;
    bool calculates = false;  // the calculate-fields event is set
    bool listening = false;   // a listener is set
    bool observed = false;    // a listener or the before-post event is set
    bool checking = false;    // inside the before-post event
    bool inserting = false;   // also while the event calculates the new record
    bool eof = true;
    bool bof = true;
    bool filtered = false;
    DataSetState state = DataSetState::kInactive;
    int calculation_paused = 0;
    const RecordTable::Id* rows = nullptr;  // VisibleRecords(), at hand
    std::size_t row_count = 0;
    std::size_t position = 0;
    RecordTable::Id pending = 0;  // the record being inserted
    std::size_t pending_at = 0;   // its place in the order
    std::uint64_t epoch = 0;      // which beginning of which set this is
  };

  // A part that moving leaves as new, so that the set it was taken from is closed and can be used again.
  template <typename Part>
  struct LeftAsNew : Part {
    using Part::operator=;
    LeftAsNew() = default;
    ~LeftAsNew() = default;
    LeftAsNew(LeftAsNew&& other) noexcept : Part(std::exchange(static_cast<Part&>(other), Part())) {}
    LeftAsNew& operator=(LeftAsNew&& other) noexcept {
      Part::operator=(std::exchange(static_cast<Part&>(other), Part()));
      return *this;
    }
    LeftAsNew(const LeftAsNew&) = delete;
    LeftAsNew& operator=(const LeftAsNew&) = delete;
  };

  struct Events {
    CalcFieldsEvent calc_fields;
    CalcFieldsReads reads = CalcFieldsReads::kAnything;
    SettledRecords settled;
    BeforePostEvent before_post;
    Listeners listeners;
  };

  const std::vector<RecordTable::Id>& VisibleRecords() const {
    return now_.filtered ? visible_ : table_.order();
  }
  std::size_t PendingRow() const { return now_.pending_at == table_.size() ? now_.row_count : now_.position; }
  RecordTable::Id RecordOfRow(std::size_t row) const;
  RecordTable::Id CurrentRecord() const { return now_.inserting ? now_.pending : now_.rows[now_.position]; }
  // The row of a visible record, looked for around a place that it had.
  std::optional<std::size_t> RowOf(RecordTable::Id record, std::size_t place) const;

  // structure
  const SlotTable& UsualSlots() const { return table_.structure().slot_tables().usual; }
  FieldDef& MutableField(std::size_t index);
  void BindWritable();
  void BindWatched();
  void BindRows() {
    now_.rows = VisibleRecords().data();
    now_.row_count = VisibleRecords().size();
  }
  void BeginAnew();

  // what the state allows
  void RequireBrowsable(const char* what) const;
  void RequireUnchecked(const char* what) const;
  void RequireOutsideEvents(const char* what) const;
  void RequireEditable() const;
  void RequireEditing() const;

  // moving
  void LeaveRecord();
  // Leaves the record, and moves on unless leaving already did: a record that its change took out of the
  // filter is followed by the next one.
  void LeaveForNext();
  void BecameCurrent();
  void TellOfMove();
  void ShowRecord(std::size_t position);
  void ShowNothing();
  void MoveTo(std::size_t position);
  void ShowAfterChange(const std::optional<Bookmark>& current);
  bool IsVisible(RecordTable::Id record) const;
  void RebuildVisible();
  void FilterPosted(bool inserted);
  std::size_t OrderIndexOf(RecordTable::Id record, std::size_t hint) const;

  // editing
  void BeginInsert(std::size_t at);
  void FillRecord(std::span<const Value> values);
  void PostObserved();
  void EndEditing();

  // events
  bool IsToBeCalculated(RecordTable::Id record) const {
    return now_.calculates && now_.calculation_paused == 0 && !events_.settled.Has(record);
  }
  void FireCalcFields(RecordTable::Id record);
  void FireBeforePost();
  void Tell(RecordSetChange::Kind kind, std::size_t row = 0, std::size_t field = 0) {
    if (now_.listening) events_.listeners.Tell(*this, {kind, row, field});
  }

  // values
  void SetSlowly(NameId id, const Value& value) { SetVariant(Row().IndexOf(id), value); }
  void RequireWritable(std::size_t index) const;
  void Wrote(std::size_t index);

  LeftAsNew<Standing> now_;
  LeftAsNew<RecordTable> table_;
  std::vector<RecordTable::Id> visible_;  // of the table's order, while filtered
  std::unique_ptr<RecordFilter> filter_;
  LeftAsNew<Events> events_;
  std::vector<std::uint64_t> before_calculation_;  // room for one record, where somebody listens
};

/// One column of a record set: reads and writes the value of the current record. It refers to its set and
/// holds while the set is neither moved nor given other fields.
class Field {
 public:
  Field(RecordSet& set, std::size_t index) : set_(&set), index_(index) {}

  RecordSet& DataSet() const { return *set_; }
  std::size_t Index() const { return index_; }
  const std::string& Name() const { return set_->Definition(index_).name; }
  FieldKind Kind() const { return set_->Definition(index_).kind; }
  std::size_t Size() const { return set_->Definition(index_).size; }
  const std::string& DisplayName() const;
  void SetDisplayName(std::string label) { set_->SetDisplayName(index_, std::move(label)); }
  bool Required() const { return set_->Definition(index_).required; }
  void SetRequired(bool required) { set_->SetRequired(index_, required); }
  const std::string& DisplayFormat() const { return set_->Definition(index_).display_format; }
  void SetDisplayFormat(std::string mask) { set_->SetDisplayFormat(index_, std::move(mask)); }

  bool IsNull() const { return set_->IsNull(index_); }
  double AsFloat() const { return set_->AsFloat(index_); }
  Currency AsCurrency() const { return set_->AsCurrency(index_); }
  std::int64_t AsInteger() const { return set_->AsInteger(index_); }
  bool AsBoolean() const { return set_->AsBoolean(index_); }
  Date AsDate() const { return set_->AsDate(index_); }
  DateTime AsDateTime() const { return set_->AsDateTime(index_); }
  std::string AsText() const { return set_->AsText(index_); }
  Value AsVariant() const { return set_->AsVariant(index_); }
  std::string DisplayText() const { return set_->DisplayText(index_); }

  void SetNull() { set_->SetNull(index_); }
  void SetFloat(double value) { set_->SetFloat(index_, value); }
  void SetCurrency(Currency value) { set_->SetCurrency(index_, value); }
  void SetInteger(std::int64_t value) { set_->SetInteger(index_, value); }
  void SetBoolean(bool value) { set_->SetBoolean(index_, value); }
  void SetDate(Date value) { set_->SetDate(index_, value); }
  void SetDateTime(DateTime value) { set_->SetDateTime(index_, value); }
  void SetText(std::string_view value) { set_->SetText(index_, value); }
  void SetVariant(const Value& value) { set_->SetVariant(index_, value); }

  /// The bytes of a binary (or text) field to a file and back, as they are.
  void SaveToFile(const std::string& path) const;
  void LoadFromFile(const std::string& path);

 private:
  RecordSet* set_;
  std::size_t index_;
};

/// The rows of a set, to be iterated while the set is left alone.
class RowRange {
 public:
  class Iterator {
   public:
    Iterator(const RecordSet& set, std::size_t row) : set_(&set), row_(row) {}
    RecordRow operator*() const { return set_->RowAt(row_); }
    Iterator& operator++() {
      ++row_;
      return *this;
    }
    friend bool operator==(const Iterator& a, const Iterator& b) { return a.row_ == b.row_; }

   private:
    const RecordSet* set_;
    std::size_t row_;
  };

  explicit RowRange(const RecordSet& set) : set_(set) {}
  Iterator begin() const { return {set_, 0}; }
  Iterator end() const { return {set_, set_.RowCount()}; }

 private:
  const RecordSet& set_;
};

inline RowRange RecordSet::Rows() const { return RowRange(*this); }

/// Disables the controls bound to a set for its own lifetime, while which the set is not moved; guards nest.
class [[nodiscard]] ControlsGuard {
 public:
  explicit ControlsGuard(RecordSet& set) : set_(set) { set_.DisableControls(); }
  ~ControlsGuard() { set_.EnableControls(); }
  ControlsGuard(const ControlsGuard&) = delete;
  ControlsGuard& operator=(const ControlsGuard&) = delete;

 private:
  RecordSet& set_;
};

/// Keeps the calculate-fields event of a set from running for its own lifetime, while which the set is not
/// moved: for who reads lines as they are, or calculates them himself.
class [[nodiscard]] CalculationPause {
 public:
  explicit CalculationPause(RecordSet& set) : set_(set) { set_.PauseCalculation(); }
  ~CalculationPause() { set_.ResumeCalculation(); }
  CalculationPause(const CalculationPause&) = delete;
  CalculationPause& operator=(const CalculationPause&) = delete;

 private:
  RecordSet& set_;
};

/// Remembers the current record and goes back to it: by Restore() at the end of a walk, or in its destructor
/// where an error left the walk early; then an error of the calculate-fields event does not cover the first.
class [[nodiscard]] SavedPosition {
 public:
  explicit SavedPosition(RecordSet& set) : set_(set), bookmark_(set.GetBookmark()) {}
  ~SavedPosition();
  SavedPosition(const SavedPosition&) = delete;
  SavedPosition& operator=(const SavedPosition&) = delete;
  void Restore();

 private:
  RecordSet& set_;
  std::optional<Bookmark> bookmark_;
  bool done_ = false;
};

}  // namespace mox

#include "mox/foundation/record_set_inline.h"
