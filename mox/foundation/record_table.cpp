#include "mox/foundation/record_table.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

// --- structure ---

Structure& RecordTable::OwnStructure() {
  if (structure_.use_count() > 1) structure_ = std::make_shared<Structure>(*structure_);
  return *structure_;
}

FieldDef& RecordTable::MutableField(std::size_t index) {
  RequireField(index);
  return OwnStructure().mutable_field(index);
}

std::size_t RecordTable::IndexOf(std::string_view field) const {
  if (const auto index = Find(field)) return *index;
  throw FieldNotFound(field, name);
}

void RecordTable::Define(FieldDef def) { OwnStructure().Define(std::move(def)); }

void RecordTable::StartWith(std::shared_ptr<Structure> structure) {
  structure_ = std::move(structure);
  order_.clear();
  texts_.Clear();
  slabs_ = RecordSlabs(structure_->record_words());
  posted_.resize(structure_->record_words());
  under_edit_ = replaced_text_ = false;
}

void RecordTable::Open() {
  if (Fields().empty()) throw Error(name + ": a record set without fields cannot be opened");
  OwnStructure().LayOut();
  StartWith(structure_);
}

void RecordTable::Close() {
  auto closed = std::make_shared<Structure>();
  for (const FieldDef& field : Fields()) closed->Define(field);
  StartWith(std::move(closed));
}

// --- cells ---

void RecordTable::Write(std::uint64_t* cells, std::size_t field, const Value& value) {
  const FieldDef& def = structure_->fields()[field];
  const auto* text = std::get_if<std::string>(&value);
  if (MakesNull(def.kind, value)) return WriteNull(cells, field);
  if (const auto* number = std::get_if<double>(&value); number != nullptr && !std::isfinite(*number)) {
    throw Overflow(def.name + ": only finite numbers are stored");
  }
  if (HoldsText(def.kind)) return WriteText(cells, field, text != nullptr ? *text : ToText(value));
  try {
    WriteBits(cells, field, PackNumber(def.kind, value));
  } catch (const ConversionError& error) {
    throw ConversionError(def.name + ": " + error.what());
  } catch (const Overflow& error) {
    throw Overflow(def.name + ": " + error.what());
  }
}

void RecordTable::WriteText(std::uint64_t* cells, std::size_t field, std::string_view text) {
  const FieldDef& def = structure_->fields()[field];
  // Characters are at least as few as bytes: most texts need no counting.
  if (def.size > 0 && def.kind == FieldKind::kText && text.size() > def.size) {
    text = CutToCharacters(text, def.size);
  }
  // what stays the same takes no memory, and a calculation that writes it again changes nothing
  if (!IsNull(cells, field) && TextArena::Get(cells[field]) == text) return;
  const std::uint64_t bits = texts_.Add(text);
  DropText(cells, field);
  WriteBits(cells, field, bits);
}

void RecordTable::WriteNull(std::uint64_t* cells, std::size_t field) {
  if (HoldsText(structure_->kinds()[field])) DropText(cells, field);
  cells[field] = 0;
  Marks(cells)[field] = NullMark::kNull;
}

// The text that a cell held so far is dead, unless an undo may still bring it back.
void RecordTable::DropText(const std::uint64_t* cells, std::size_t field) {
  if (cells[field] == 0) return;  // null and the empty text take no memory
  if (under_edit_ && posted_[field] == cells[field]) {
    replaced_text_ = true;
  } else {
    texts_.Drop(cells[field]);
  }
}

// --- records ---

RecordTable::Id RecordTable::NewRecord() {
  if (order_.size() >= kMostRecords) throw Overflow(name + ": the record set is full");
  const Id record = slabs_.Allocate();
  std::memcpy(Cells(record), BlankCells(), structure_->record_words() * sizeof(std::uint64_t));
  return record;
}

void RecordTable::Drop(Id record) {
  const std::uint64_t* const cells = Cells(record);
  for (const std::size_t field : structure_->text_fields()) texts_.Drop(cells[field]);
  slabs_.Free(record);
}

void RecordTable::Clear() {
  for (const Id record : order_) Drop(record);
  order_.clear();
  texts_.Clear();
}

void RecordTable::UndoEdit() {
  DropReplacedTexts(posted_.data(), Cells(edited_));
  std::memcpy(Cells(edited_), posted_.data(), posted_.size() * sizeof(std::uint64_t));
  under_edit_ = false;
}

void RecordTable::DropReplacedTexts(const std::uint64_t* kept, const std::uint64_t* replaced) {
  for (const std::size_t field : structure_->text_fields()) {
    if (kept[field] != replaced[field]) texts_.Drop(replaced[field]);
  }
  replaced_text_ = false;
}

void RecordTable::CompactTexts() {
  TextArena compact;
  for (const Id record : order_) {
    std::uint64_t* const cells = Cells(record);
    for (const std::size_t field : structure_->text_fields()) {
      cells[field] = compact.Add(TextArena::Get(cells[field]));
    }
  }
  texts_ = std::move(compact);
}

// --- copies ---

void RecordTable::CloneFrom(const RecordTable& source) {
  StartWith(source.structure_);
  order_.reserve(source.order_.size());
  for (const Id record : source.order_) {
    const std::uint64_t* const from = source.PostedCells(record);
    const Id copy = slabs_.Allocate();
    std::uint64_t* const cells = Cells(copy);
    std::memcpy(cells, from, structure_->record_words() * sizeof(std::uint64_t));
    for (const std::size_t field : structure_->text_fields()) {
      cells[field] = texts_.Add(TextArena::Get(from[field]));
    }
    order_.push_back(copy);
  }
}

void RecordTable::AppendFrom(const RecordTable& source) {
  std::vector<std::optional<std::size_t>> from(structure_->size());
  for (std::size_t i = 0; i < from.size(); ++i) from[i] = source.Find(structure_->fields()[i].name);
  std::vector<Id> copies;
  copies.reserve(source.order_.size());
  try {
    for (const Id record : source.order_) copies.push_back(CopyOf(source, record, from));
  } catch (...) {
    for (const Id record : copies) Drop(record);
    throw;
  }
  order_.insert(order_.end(), copies.begin(), copies.end());
}

RecordTable::Id RecordTable::CopyOf(const RecordTable& source, Id record,
                                    std::span<const std::optional<std::size_t>> source_fields) {
  const Id copy = NewRecord();
  std::uint64_t* const cells = Cells(copy);
  const std::uint64_t* const from_cells = source.PostedCells(record);
  const RecordRow row = source.Row(from_cells);
  try {
    for (std::size_t i = 0; i < source_fields.size(); ++i) {
      if (!source_fields[i] || row.IsNull(*source_fields[i])) continue;
      const std::size_t from = *source_fields[i];
      const FieldKind kind = structure_->kinds()[i];
      const FieldKind from_kind = source.structure_->kinds()[from];
      if (HoldsText(kind) && HoldsText(from_kind)) {
        WriteText(cells, i, TextArena::Get(from_cells[from]));
      } else if (kind == from_kind) {
        WriteBits(cells, i, from_cells[from]);
      } else {
        Write(cells, i, row.AsVariant(from));
      }
    }
  } catch (...) {
    Drop(copy);
    throw;
  }
  return copy;
}

std::size_t RecordTable::MemoryBytes() const {
  return slabs_.MemoryBytes() + texts_.MemoryBytes() + order_.capacity() * sizeof(Id);
}

}  // namespace mox
