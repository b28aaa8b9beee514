#include "mox/foundation/record_set.h"

#include <algorithm>
#include <cstring>
#include <exception>
#include <utility>

#include "mox/foundation/record_filter.h"
#include "mox/foundation/text.h"

namespace mox {
RecordSet::RecordSet(std::string name) : name_(std::move(name)) {}

RecordSet::~RecordSet() = default;

RecordSet::RecordSet(RecordSet&& other) noexcept : RecordSet() { *this = std::move(other); }

RecordSet& RecordSet::operator=(RecordSet&& other) noexcept {
  if (this == &other) return *this;
  slots_ = std::exchange(other.slots_, &kNoSlotTables);
  cells_ = std::exchange(other.cells_, nullptr);
  writable_ = std::exchange(other.writable_, &kNoSlots);
  modified_ = std::exchange(other.modified_, false);
  watched_ = std::exchange(other.watched_, false);
  eof_ = std::exchange(other.eof_, true);
  bof_ = std::exchange(other.bof_, true);
  filtered_ = std::exchange(other.filtered_, false);
  has_undo_ = std::exchange(other.has_undo_, false);
  changed_unseen_ = std::exchange(other.changed_unseen_, false);
  state_ = std::exchange(other.state_, DataSetState::kInactive);
  kinds_ = std::exchange(other.kinds_, nullptr);
  field_count_ = std::exchange(other.field_count_, 0U);
  replaced_text_ = std::exchange(other.replaced_text_, false);
  rows_ = std::exchange(other.rows_, nullptr);
  row_count_ = std::exchange(other.row_count_, 0U);
  position_ = std::exchange(other.position_, 0U);
  epoch_ = std::max(epoch_, other.epoch_) + 1;
  name_ = std::move(other.name_);
  defined_ = std::move(other.defined_);
  structure_ = std::move(other.structure_);
  slabs_ = std::exchange(other.slabs_, RecordSlabs(1));
  texts_ = std::exchange(other.texts_, TextArena());
  order_ = std::move(other.order_);
  visible_ = std::move(other.visible_);
  undo_ = std::move(other.undo_);
  pending_ = other.pending_;
  pending_at_ = other.pending_at_;
  on_calc_fields_ = std::exchange(other.on_calc_fields_, nullptr);
  on_before_post_ = std::exchange(other.on_before_post_, nullptr);
  listener_ = std::exchange(other.listener_, nullptr);
  filter_ = std::move(other.filter_);
  return *this;
}

// --- structure ---

const std::vector<FieldDef>& RecordSet::defs() const { return structure_ ? structure_->fields() : defined_; }

void RecordSet::DefineField(FieldDef def) {
  if (IsActive()) throw StateError(name_ + ": fields are defined before the record set is opened");
  if (def.name.empty()) throw Error("a field needs a name");
  if (defined_.size() == Structure::kMostFields) {
    throw Error("a record set has at most " + std::to_string(Structure::kMostFields) + " fields");
  }
  if (FindFieldIndex(def.name)) throw Error("field \"" + def.name + "\" is defined twice");
  defined_.push_back(std::move(def));
}

void RecordSet::DefineField(std::string_view name, FieldKind kind, std::size_t size) {
  FieldDef def;
  def.name = name;
  def.kind = kind;
  def.size = size;
  DefineField(std::move(def));
}

void RecordSet::StartWith(std::shared_ptr<Structure> structure) {
  structure_ = std::move(structure);
  defined_.clear();
  BindStructure();
  slabs_ = RecordSlabs(structure_->record_words());
  undo_.resize(structure_->record_words());
  DropEverything();
  state_ = DataSetState::kBrowse;
}

void RecordSet::BindStructure() {
  slots_ = &structure_->slot_tables();
  kinds_ = structure_->kinds();
  field_count_ = structure_->size();
  BindWritable();
}

void RecordSet::DropEverything() {
  ++epoch_;
  texts_.Clear();
  order_.clear();
  visible_.clear();
  filter_.reset();
  filtered_ = false;
  EndEditing();
  Rebind();
  ShowNothing();
}

void RecordSet::Open() {
  if (IsActive()) return;
  if (defined_.empty()) throw Error(name_ + ": a record set without fields cannot be opened");
  StartWith(std::make_shared<Structure>(std::move(defined_)));
  Notify(RecordSetChange::kRecords);
}

void RecordSet::Close() {
  if (!IsActive()) return;
  RequireOutsideEvents("close");
  defined_ = structure_->fields();
  structure_.reset();
  slots_ = &kNoSlotTables;
  kinds_ = nullptr;
  field_count_ = 0;
  slabs_ = RecordSlabs(1);
  DropEverything();
  state_ = DataSetState::kInactive;
  Notify(RecordSetChange::kRecords);
}

void RecordSet::ShowNothing() {
  position_ = 0;
  // Nothing is writable while there is no record.
  cells_ = structure_ ? const_cast<std::uint64_t*>(structure_->blank().data()) : nullptr;
  eof_ = true;
  bof_ = true;
}

std::optional<std::size_t> RecordSet::FindFieldIndex(std::string_view name) const {
  if (structure_) return structure_->Find(name);
  for (std::size_t i = 0; i < defined_.size(); ++i) {
    if (SameName(defined_[i].name, name)) return i;
  }
  return std::nullopt;
}

std::optional<Field> RecordSet::FindField(std::string_view name) {
  const auto index = FindFieldIndex(name);
  if (!index) return std::nullopt;
  return Field(*this, *index);
}

Field RecordSet::FieldByName(std::string_view name) {
  const auto index = FindFieldIndex(name);
  if (!index) throw FieldNotFound(name, name_);
  return Field(*this, *index);
}

Field RecordSet::FieldAt(std::size_t index) {
  RequireIndex(index);
  return Field(*this, index);
}

void RecordSet::RequireIndex(std::size_t index) const {
  if (index >= FieldCount()) {
    throw Error(name_ + ": there is no field at position " + std::to_string(index) + " of " +
                std::to_string(FieldCount()));
  }
}

std::size_t RecordSet::IndexOf(NameId id) const {
  const std::size_t slot = slots_->present[id];
  if (slot != kNoSlot) return slot;
  if (!IsActive()) {
    throw StateError(std::string(kVocabulary[static_cast<std::size_t>(id)].name) + ": the record set " +
                     name_ + " is closed");
  }
  throw FieldNotFound(kVocabulary[static_cast<std::size_t>(id)].name, name_);
}

std::vector<FieldDef>& RecordSet::MutableDefs() {
  if (!structure_) return defined_;
  if (structure_.use_count() > 1) {
    const bool shows_nothing = cells_ == structure_->blank().data();
    structure_ = std::make_shared<Structure>(*structure_);
    BindStructure();
    if (shows_nothing) cells_ = const_cast<std::uint64_t*>(structure_->blank().data());
  }
  return structure_->mutable_fields();
}

void RecordSet::SetDisplayName(std::size_t index, std::string display_name) {
  RequireIndex(index);
  MutableDefs()[index].display_name = std::move(display_name);
}

void RecordSet::SetDisplayFormat(std::size_t index, std::string mask) {
  RequireIndex(index);
  MutableDefs()[index].display_format = std::move(mask);
}

void RecordSet::SetRequired(std::size_t index, bool required) {
  RequireIndex(index);
  MutableDefs()[index].required = required;
}

// --- records ---

std::uint32_t RecordSet::NewRecord() {
  const std::uint32_t record = slabs_.Allocate();
  std::memcpy(CellsOf(record), structure_->blank().data(),
              structure_->record_words() * sizeof(std::uint64_t));
  return record;
}

void RecordSet::DropRecord(std::uint32_t record) {
  const std::uint64_t* const cells = CellsOf(record);
  for (const std::size_t i : structure_->text_fields()) texts_.Drop(cells[i]);
  slabs_.Free(record);
}

void RecordSet::Clear() {
  if (state_ != DataSetState::kBrowse) Cancel();
  RequireBrowsable("clear");
  if (order_.empty()) return;
  for (const std::uint32_t record : order_) DropRecord(record);
  order_.clear();
  visible_.clear();
  texts_.Clear();
  Rebind();
  ShowNothing();
  Notify(RecordSetChange::kRecords);
}

void RecordSet::BeginInsert(std::size_t at) {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  if (order_.size() >= kMostRecords) throw Overflow(name_ + ": the record set is full");
  pending_ = NewRecord();
  pending_at_ = std::min(at, order_.size());
  cells_ = CellsOf(pending_);
  state_ = DataSetState::kInsert;
  writable_ = &slots_->usual;
  modified_ = false;
  Notify(RecordSetChange::kRecord);
}

void RecordSet::Insert() {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  BeginInsert(row_count_ == 0 ? order_.size() : OrderIndexOf(rows_[position_], position_));
}

void RecordSet::Append() { BeginInsert(kMostRecords); }

void RecordSet::FillRecord(std::span<const Value> values) {
  try {
    if (values.size() > FieldCount()) {
      throw Error(name_ + ": " + std::to_string(values.size()) + " values for " +
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
void RecordSet::PostSlowly() {
  if (state_ != DataSetState::kEdit && state_ != DataSetState::kInsert) RequireEditing();
  if (on_before_post_) FireBeforePost();
  const bool inserted = state_ == DataSetState::kInsert;
  if (inserted) {
    order_.insert(order_.begin() + static_cast<std::ptrdiff_t>(pending_at_), pending_);
  } else if (replaced_text_) {
    DropReplacedTexts(cells_, undo_.data());
  }
  EndEditing();
  if (inserted && !filtered_) {
    Rebind();
    ShowRecord(pending_at_);
  }
  std::exception_ptr failure;
  const auto attempt = [&failure](const auto& step) {
    try {
      step();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  };
  if (on_calc_fields_) attempt([this] { FireCalcFields(); });
  if (filtered_) attempt([this, inserted] { FilterPosted(inserted); });
  CompactTextsIfWorthIt();
  Notify(RecordSetChange::kRecord);
  if (failure) std::rethrow_exception(failure);
}

void RecordSet::Cancel() {
  RequireUnchecked("cancel");
  if (state_ == DataSetState::kEdit) {
    DropReplacedTexts(undo_.data(), cells_);
    std::memcpy(cells_, undo_.data(), undo_.size() * sizeof(std::uint64_t));
    EndEditing();
  } else if (state_ == DataSetState::kInsert) {
    DropRecord(pending_);
    EndEditing();
    if (row_count_ == 0) {
      ShowNothing();
    } else {
      ShowRecord(position_);
    }
  } else {
    return;
  }
  CompactTextsIfWorthIt();
  Notify(RecordSetChange::kRecord);
}

void RecordSet::Delete() {
  RequireUnchecked("delete");
  if (state_ == DataSetState::kInsert) {
    Cancel();
    return;
  }
  if (state_ == DataSetState::kEdit) Cancel();
  RequireBrowsable("delete");
  if (row_count_ == 0) throw StateError(name_ + ": there is no record to delete");
  const std::uint32_t record = rows_[position_];
  order_.erase(order_.begin() + static_cast<std::ptrdiff_t>(OrderIndexOf(record, position_)));
  if (filtered_) visible_.erase(visible_.begin() + static_cast<std::ptrdiff_t>(position_));
  DropRecord(record);
  Rebind();
  if (row_count_ == 0) {
    ShowNothing();
  } else {
    MoveTo(std::min(position_, row_count_ - 1));
  }
  Notify(RecordSetChange::kRecords);
}

// --- copying ---

void RecordSet::CleanClone(const RecordSet& source) {
  if (&source == this) return;
  RequireOutsideEvents("clone");
  if (!source.structure_) {
    Close();
    defined_ = source.defined_;
    return;
  }
  StartWith(source.structure_);
  std::vector<std::optional<std::size_t>> same(FieldCount());
  for (std::size_t i = 0; i < same.size(); ++i) same[i] = i;
  order_.reserve(source.order_.size());
  for (const std::uint32_t record : source.order_) order_.push_back(CopyRecordFrom(source, record, same));
  Rebind();
  if (row_count_ > 0) First();
  Notify(RecordSetChange::kRecords);
}

void RecordSet::DataTransfer(const RecordSet& source) {
  if (&source == this) throw Error(name_ + ": a record set cannot be transferred into itself");
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  std::vector<std::optional<std::size_t>> from(FieldCount());
  for (std::size_t i = 0; i < from.size(); ++i) from[i] = source.FindFieldIndex(Definition(i).name);
  std::vector<std::uint32_t> copies;
  copies.reserve(source.order_.size());
  try {
    for (const std::uint32_t record : source.order_) copies.push_back(CopyRecordFrom(source, record, from));
  } catch (...) {
    for (const std::uint32_t record : copies) DropRecord(record);
    throw;
  }
  if (copies.empty()) return;
  const std::optional<std::uint32_t> current =
      row_count_ > 0 ? std::optional(rows_[position_]) : std::nullopt;
  order_.insert(order_.end(), copies.begin(), copies.end());
  ShowAfterChange(current);
}

std::uint32_t RecordSet::CopyRecordFrom(const RecordSet& source, std::uint32_t record,
                                        std::span<const std::optional<std::size_t>> source_fields) {
  const std::uint32_t copy = NewRecord();
  std::uint64_t* const cells = CellsOf(copy);
  const std::uint64_t* const source_cells = source.PostedCellsOf(record);
  try {
    for (std::size_t i = 0; i < source_fields.size(); ++i) {
      if (!source_fields[i] || source.IsNullCell(source_cells, *source_fields[i])) continue;
      const std::size_t from = *source_fields[i];
      if (source.KindOf(from) == KindOf(i) && !HoldsText(KindOf(i))) {
        cells[i] = source_cells[from];
      } else if (HoldsText(KindOf(i)) && HoldsText(source.KindOf(from))) {
        cells[i] = StoredText(i, TextArena::Get(source_cells[from]));
      } else if (const auto bits = StoredValue(i, source.RowOf(source_cells).AsVariant(from))) {
        cells[i] = *bits;
      } else {
        continue;
      }
      MarkCell(cells, i, false);
    }
  } catch (...) {
    DropRecord(copy);
    throw;
  }
  return copy;
}

std::size_t RecordSet::MemoryBytes() const {
  return slabs_.MemoryBytes() + texts_.MemoryBytes() +
         (order_.capacity() + visible_.capacity()) * sizeof(std::uint32_t);
}

}  // namespace mox
