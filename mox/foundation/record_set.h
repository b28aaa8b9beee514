#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/error.h"
#include "mox/foundation/field.h"
#include "mox/foundation/real.h"
#include "mox/foundation/record_row.h"
#include "mox/foundation/record_store.h"
#include "mox/foundation/structure.h"
#include "mox/foundation/vocabulary.h"

namespace mox {

class Field;
class RecordFilter;

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

/// What a screen bound to a record set is told.
enum class RecordSetChange : std::uint8_t {
  kMoved,   ///< another record is current
  kRecord,  ///< the current record was written, posted or cancelled
  kRecords  ///< records came, went or were refreshed; also told once after controls are enabled again
};

/// A remembered record. It stays good while records come and go, until its own is deleted or the set is
/// closed, loaded or cloned anew.
struct Bookmark {
  std::uint32_t record = 0;
  std::uint32_t generation = 0;
  std::uint32_t epoch = 0;
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
  using Listener = std::function<void(RecordSet&, RecordSetChange)>;  ///< must not raise

  explicit RecordSet(std::string name = {});
  ~RecordSet();
  RecordSet(RecordSet&& other) noexcept;
  RecordSet& operator=(RecordSet&& other) noexcept;
  RecordSet(const RecordSet&) = delete;
  RecordSet& operator=(const RecordSet&) = delete;

  /// The component name, under which the set travels to the server.
  const std::string& Name() const { return name_; }
  void SetName(std::string name) { name_ = std::move(name); }

  // --- structure ---

  /// Only while the set is closed. Raises Error when the name is empty or taken.
  void DefineField(FieldDef def);
  void DefineField(std::string_view name, FieldKind kind, std::size_t size = 0);
  /// Opens the set without records; an open set stays as it is. Raises Error without fields.
  void Open();
  /// Drops all records and a pending edit. The fields stay defined.
  void Close();
  bool IsActive() const { return state_ != DataSetState::kInactive; }

  std::size_t FieldCount() const { return defs().size(); }
  const FieldDef& Definition(std::size_t index) const { return defs().at(index); }
  std::optional<Field> FindField(std::string_view name);
  Field FieldByName(std::string_view name);
  Field FieldAt(std::size_t index);
  std::optional<std::size_t> FindFieldIndex(std::string_view name) const;
  void SetDisplayName(std::size_t index, std::string display_name);
  void SetDisplayFormat(std::size_t index, std::string mask);
  void SetRequired(std::size_t index, bool required);

  /// Takes over the structure and copies of all records, in their order, unfiltered and without a pending
  /// edit. The name, the event and the listener of this set stay.
  void CleanClone(const RecordSet& source);
  /// Appends copies of all records of another set; fields that both have are copied by name, converted where
  /// the kinds differ as by writing, the others are null. A value that cannot be converted raises
  /// ConversionError and leaves this set as it was. A pending edit of the other set is not part of it.
  void DataTransfer(const RecordSet& source);
  /// Deletes all records.
  void Clear();

  // --- navigation ---

  bool IsEmpty() const { return row_count_ == 0; }
  std::size_t RecordCount() const { return row_count_; }
  bool Eof() const { return eof_; }
  bool Bof() const { return bof_; }
  /// Position of the current record among the visible ones, from 0.
  std::size_t Position() const { return position_; }
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
  bool Locate(FloatName name, double value);

  // --- rows, read without moving, posting or firing ---

  /// The rows as a screen shows them: the visible records, and one that is being inserted in its place.
  std::size_t RowCount() const { return row_count_ + (state_ == DataSetState::kInsert ? 1U : 0U); }
  /// Which of them is current.
  std::size_t CurrentRow() const { return state_ == DataSetState::kInsert ? PendingRow() : position_; }
  /// A row with what is pending in it. Raises Error when there is none at that place.
  RecordRow RowAt(std::size_t row) const;
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
  std::string Filter() const;
  bool IsFiltered() const { return filtered_; }

  // --- editing ---

  DataSetState State() const { return state_; }
  bool IsModified() const { return modified_; }
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
  /// as calculated may be written, and nothing moves.
  void SetOnCalcFields(CalcFieldsEvent event);
  /// Fired before a record is posted, by whatever posts it: a screen's checks. Abort, after a dialog, or an
  /// error cancels the post and the move that wanted it. Inside, the record may be written; nothing moves,
  /// posts or cancels.
  void SetOnBeforePost(BeforePostEvent event);
  /// The before-post event is running.
  bool IsBeingChecked() const { return checking_; }
  /// Fires the event for the current record and tells the listener.
  void Refresh();
  void SetListener(Listener listener);
  bool ControlsDisabled() const { return controls_disabled_ > 0; }

  // --- values of the current record ---

  Currency operator[](CurrencyName name) const;
  Real operator[](FloatName name) const;
  std::int64_t operator[](IntegerName name) const;
  std::string operator[](TextName name) const;
  /// A unit price as an unrounded amount: one that stands in a float field keeps all of its decimals.
  Amount Price(PriceName name) const;
  /// 0 when the field is absent or null.
  Currency Optional(CurrencyName name) const;
  Real Optional(FloatName name) const;
  template <FieldKind K>
  bool Has(FieldName<K> name) const {
    return slots_->present[name.id] != kNoSlot;
  }

  void Set(CurrencyName name, Currency value);
  void Set(FloatName name, Real value);
  void Set(TextName name, std::string_view value);

  bool IsNull(std::size_t index) const;
  double AsFloat(std::size_t index) const;
  Currency AsCurrency(std::size_t index) const;
  std::int64_t AsInteger(std::size_t index) const;
  bool AsBoolean(std::size_t index) const;
  Date AsDate(std::size_t index) const;
  DateTime AsDateTime(std::size_t index) const;
  /// As the locale writes it; for a text field the text itself, for a binary one its bytes.
  std::string AsText(std::size_t index) const;
  /// Of a text or binary field only, without a copy.
  std::string_view AsTextView(std::size_t index) const;
  Value AsVariant(std::size_t index) const;
  /// As it was before the pending edit; null in an insert.
  Value OldVariant(std::size_t index) const;
  /// A number through the field's display format, where it has one.
  std::string DisplayText(std::size_t index) const;

  void SetNull(std::size_t index);
  void SetFloat(std::size_t index, double value);
  void SetCurrency(std::size_t index, Currency value);
  void SetInteger(std::size_t index, std::int64_t value);
  void SetBoolean(std::size_t index, bool value);
  void SetDate(std::size_t index, Date value);
  void SetDateTime(std::size_t index, DateTime value);
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

  /// Bytes held for records and texts.
  std::size_t MemoryBytes() const;

 private:
  friend class ControlsGuard;
  friend class Field;
  friend class LineView;
  friend class RecordSetText;

  struct StateGuard;

  static constexpr std::size_t kMostRecords = 0xFFFF'FFFFU;
  static constexpr std::size_t kGarbageLimit = 1U << 20U;  // bytes of dead texts worth compacting

  const std::vector<FieldDef>& defs() const;
  std::vector<FieldDef>& MutableDefs();
  std::uint64_t* CellsOf(std::uint32_t record) const { return slabs_.At(record); }
  // Of a record without its pending edit.
  const std::uint64_t* PostedCellsOf(std::uint32_t record) const {
    return has_undo_ && record == rows_[position_] ? undo_.data() : CellsOf(record);
  }
  const std::vector<std::uint32_t>& Rows() const { return filtered_ ? visible_ : order_; }
  void Rebind() {
    rows_ = Rows().data();
    row_count_ = Rows().size();
  }

  std::size_t PendingRow() const { return pending_at_ == order_.size() ? row_count_ : position_; }
  const std::uint64_t* CellsOfRow(std::size_t row) const;

  void LeaveRecord();
  // Leaves the record, and moves on unless leaving already did: a record that its change took out of the
  // filter is followed by the next one.
  void LeaveForNext();
  void BecameCurrent();
  void ShowRecord(std::size_t position);
  void MoveTo(std::size_t position);
  void FireCalcFields();
  void FireBeforePost();
  void Notify(RecordSetChange change);
  void RequireBrowsable(const char* what) const;
  void RequireEditing() const;
  void RequireUnchecked(const char* what) const;
  void RequireOutsideEvents(const char* what) const;
  void ShowNothing();
  void ShowAfterChange(std::optional<std::uint32_t> current);

  std::uint32_t NewRecord();
  void DropRecord(std::uint32_t record);
  void BeginInsert(std::size_t at);
  void FillRecord(std::span<const Value> values);
  void EndEditing();
  void DropText(std::size_t index);
  void DropReplacedTexts(const std::uint64_t* kept, const std::uint64_t* replaced);
  void BindStructure();
  void BindWatched() {
    watched_ = on_calc_fields_ != nullptr || on_before_post_ != nullptr || listener_ != nullptr;
  }
  void BindWritable() {
    const bool open = state_ == DataSetState::kEdit || state_ == DataSetState::kInsert;
    const bool calculating = state_ == DataSetState::kCalcFields;
    writable_ = open ? &slots_->usual : calculating ? &slots_->calculated : &kNoSlots;
  }
  void DropEverything();
  void RequireEditable() const;
  void PostSlowly();
  void CompactTexts();
  void CompactTextsIfWorthIt() {
    if (texts_.garbage() > kGarbageLimit && texts_.garbage() > texts_.used() / 2) CompactTexts();
  }
  bool IsVisible(const std::uint64_t* cells) const;
  void RebuildVisible();
  void FilterPosted(bool inserted);
  std::size_t OrderIndexOf(std::uint32_t record, std::size_t hint) const;
  std::uint32_t CopyRecordFrom(const RecordSet& source, std::uint32_t record,
                               std::span<const std::optional<std::size_t>> source_fields);
  void StartWith(std::shared_ptr<Structure> structure);

  // A record is its cells; the bytes that mark its nulls stand behind them.
  bool IsNullCell(const std::uint64_t* cells, std::size_t index) const {
    return reinterpret_cast<const NullMark*>(cells + field_count_)[index] != NullMark::kValue;
  }
  void MarkCell(std::uint64_t* cells, std::size_t index, bool null) const {
    reinterpret_cast<NullMark*>(cells + field_count_)[index] = null ? NullMark::kNull : NullMark::kValue;
  }
  FieldKind KindOf(std::size_t index) const { return kinds_[index]; }
  void RequireIndex(std::size_t index) const;
  std::size_t IndexOf(NameId id) const;
  RecordRow RowOf(const std::uint64_t* cells) const { return {*structure_, name_, cells}; }
  // The current record; raises where the set has no such field or is closed.
  RecordRow Readable(std::size_t index) const;
  [[noreturn]] void RethrowFor(std::size_t index, const ConversionError& error) const;
  Currency ReadCurrencySlowly(NameId id) const;
  double ReadFloatSlowly(NameId id) const;
  void SetSlowly(NameId id, Currency value);
  void SetSlowly(NameId id, double value);
  void RequireWritable(std::size_t index) const;
  void WriteCell(std::size_t index, std::uint64_t bits);
  void WriteValue(std::size_t index, const Value& value);
  std::uint64_t StoredText(std::size_t index, std::string_view text);
  std::optional<std::uint64_t> StoredValue(std::size_t index, const Value& value);

  // What every read and write of the current record needs.
  const SlotTables* slots_ = &kNoSlotTables;
  const SlotTable* writable_ = &kNoSlots;  // what the state lets a formula write
  std::uint64_t* cells_ = nullptr;
  const FieldKind* kinds_ = nullptr;  // by position, of an open set
  std::size_t field_count_ = 0;       // of an open set
  bool modified_ = false;
  bool watched_ = false;   // an event or a listener is set
  bool checking_ = false;  // inside the before-post event
  bool eof_ = true;
  bool bof_ = true;
  bool filtered_ = false;
  bool has_undo_ = false;
  bool replaced_text_ = false;   // a text that undo_ still refers to was replaced
  bool changed_unseen_ = false;  // something changed while the controls were disabled
  DataSetState state_ = DataSetState::kInactive;
  const std::uint32_t* rows_ = nullptr;  // Rows(), at hand
  std::size_t row_count_ = 0;
  std::size_t position_ = 0;

  std::string name_;
  std::vector<FieldDef> defined_;         // before opening
  std::shared_ptr<Structure> structure_;  // from opening on
  RecordSlabs slabs_{1};
  TextArena texts_;
  std::vector<std::uint32_t> order_;
  std::vector<std::uint32_t> visible_;  // of order_, while filtered
  std::vector<std::uint64_t> undo_;     // room for one record: the current one as it was before the edit
  std::uint32_t epoch_ = 0;             // how often the set began anew
  std::uint32_t pending_ = 0;           // the record being inserted
  std::size_t pending_at_ = 0;          // its place in order_
  int controls_disabled_ = 0;
  CalcFieldsEvent on_calc_fields_;
  BeforePostEvent on_before_post_;
  Listener listener_;
  std::unique_ptr<RecordFilter> filter_;
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

/// Disables the controls bound to a set for its own lifetime, while which the set is not moved; guards nest.
/// The listener hears nothing meanwhile, and once of all changes after the last guard is gone.
class [[nodiscard]] ControlsGuard {
 public:
  explicit ControlsGuard(RecordSet& set) : set_(set) { ++set_.controls_disabled_; }
  ~ControlsGuard();
  ControlsGuard(const ControlsGuard&) = delete;
  ControlsGuard& operator=(const ControlsGuard&) = delete;

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
