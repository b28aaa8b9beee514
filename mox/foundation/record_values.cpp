#include <bit>
#include <cmath>

#include "mox/foundation/record_set.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

// --- reading ---

RecordRow RecordSet::Readable(std::size_t index) const {
  RequireIndex(index);
  if (!IsActive()) throw StateError(Definition(index).name + ": the record set " + name_ + " is closed");
  return RowOf(cells_);
}

bool RecordSet::IsNull(std::size_t index) const { return Readable(index).IsNull(index); }
Currency RecordSet::ReadCurrencySlowly(NameId id) const { return AsCurrency(IndexOf(id)); }
double RecordSet::ReadFloatSlowly(NameId id) const { return AsFloat(IndexOf(id)); }
std::int64_t RecordSet::AsInteger(std::size_t index) const { return Readable(index).AsInteger(index); }
bool RecordSet::AsBoolean(std::size_t index) const { return Readable(index).AsBoolean(index); }
Date RecordSet::AsDate(std::size_t index) const { return Readable(index).AsDate(index); }
DateTime RecordSet::AsDateTime(std::size_t index) const { return Readable(index).AsDateTime(index); }
std::string RecordSet::AsText(std::size_t index) const { return Readable(index).AsText(index); }
std::string_view RecordSet::AsTextView(std::size_t index) const { return Readable(index).AsTextView(index); }
Value RecordSet::AsVariant(std::size_t index) const { return Readable(index).AsVariant(index); }
std::string RecordSet::DisplayText(std::size_t index) const { return Readable(index).DisplayText(index); }

Value RecordSet::OldVariant(std::size_t index) const {
  const RecordRow current = Readable(index);
  if (state_ == DataSetState::kInsert) return {};
  return has_undo_ ? RowOf(undo_.data()).AsVariant(index) : current.AsVariant(index);
}

void RecordSet::RethrowFor(std::size_t index, const ConversionError& error) const {
  throw ConversionError(Definition(index).name + ": " + error.what());
}

const std::uint64_t* RecordSet::CellsOfRow(std::size_t row) const {
  if (state_ != DataSetState::kInsert) return CellsOf(rows_[row]);
  const std::size_t pending = PendingRow();
  if (row == pending) return CellsOf(pending_);
  return CellsOf(rows_[row < pending ? row : row - 1]);
}

RecordRow RecordSet::RowAt(std::size_t row) const {
  if (row >= RowCount()) {
    throw Error(name_ + ": there is no row at place " + std::to_string(row) + " of " +
                std::to_string(RowCount()));
  }
  return RowOf(CellsOfRow(row));
}

// --- writing ---

void RecordSet::RequireWritable(std::size_t index) const {
  RequireIndex(index);
  const FieldDef& field = Definition(index);
  switch (state_) {
    case DataSetState::kEdit:
    case DataSetState::kInsert:
      return;
    case DataSetState::kCalcFields:
      if (field.calculated) return;
      throw StateError(field.name + ": inside the calculate-fields event only calculated fields are written");
    case DataSetState::kInactive:
      throw StateError(field.name + ": the record set " + name_ + " is closed");
    default:
      throw StateError(field.name + ": the record is not being edited or inserted");
  }
}

void RecordSet::WriteCell(std::size_t index, std::uint64_t bits) {
  cells_[index] = bits;
  MarkCell(cells_, index, false);
  modified_ = true;
}

std::uint64_t RecordSet::StoredText(std::size_t index, std::string_view text) {
  const FieldDef& field = Definition(index);
  // Characters are at least as few as bytes: most texts need no counting.
  if (field.size > 0 && field.kind == FieldKind::kText && text.size() > field.size) {
    text = CutToCharacters(text, field.size);
  }
  return texts_.Add(text);
}

// None is null, as which a blank text is stored in a field that holds no text.
std::optional<std::uint64_t> RecordSet::StoredValue(std::size_t index, const Value& value) {
  const FieldKind kind = KindOf(index);
  const auto* text = std::get_if<std::string>(&value);
  if (std::holds_alternative<std::monostate>(value)) return std::nullopt;
  if (HoldsText(kind)) return StoredText(index, text != nullptr ? *text : ToText(value));
  if (text != nullptr && TrimBlanks(*text).empty()) return std::nullopt;
  try {
    return PackNumber(kind, value);
  } catch (const ConversionError& error) {
    RethrowFor(index, error);
  } catch (const Overflow& error) {
    throw Overflow(Definition(index).name + ": " + error.what());
  }
}

// Stores a value of another kind than the field's, or a text.
void RecordSet::WriteValue(std::size_t index, const Value& value) {
  RequireWritable(index);
  const auto bits = StoredValue(index, value);
  if (!bits) {
    SetNull(index);
    return;
  }
  if (HoldsText(KindOf(index))) DropText(index);
  WriteCell(index, *bits);
}

// The text that the current record held so far is dead, unless a cancel may still bring it back.
void RecordSet::DropText(std::size_t index) {
  if (cells_[index] == 0) return;  // null and the empty text take no memory
  const bool kept_for_undo = has_undo_ && undo_[index] == cells_[index];
  if (kept_for_undo) {
    replaced_text_ = true;
  } else {
    texts_.Drop(cells_[index]);
  }
}

void RecordSet::SetNull(std::size_t index) {
  RequireWritable(index);
  if (HoldsText(KindOf(index))) DropText(index);
  WriteCell(index, 0);
  MarkCell(cells_, index, true);
}

void RecordSet::SetFloat(std::size_t index, double value) {
  RequireIndex(index);
  if (!std::isfinite(value)) throw Overflow(Definition(index).name + ": only finite numbers are stored");
  WriteValue(index, value);
}

void RecordSet::SetCurrency(std::size_t index, Currency value) { WriteValue(index, value); }
void RecordSet::SetSlowly(NameId id, Currency value) { SetCurrency(IndexOf(id), value); }
void RecordSet::SetSlowly(NameId id, double value) { SetFloat(IndexOf(id), value); }
void RecordSet::SetInteger(std::size_t index, std::int64_t value) { WriteValue(index, value); }
void RecordSet::SetBoolean(std::size_t index, bool value) { WriteValue(index, value); }
void RecordSet::SetDate(std::size_t index, Date value) { WriteValue(index, value); }
void RecordSet::SetDateTime(std::size_t index, DateTime value) { WriteValue(index, value); }

void RecordSet::SetText(std::size_t index, std::string_view value) {
  RequireWritable(index);
  if (!HoldsText(KindOf(index))) {
    WriteValue(index, std::string(value));
    return;
  }
  const std::uint64_t bits = StoredText(index, value);
  DropText(index);
  WriteCell(index, bits);
}

void RecordSet::SetVariant(std::size_t index, const Value& value) {
  RequireIndex(index);
  if (const auto* number = std::get_if<double>(&value)) {
    SetFloat(index, *number);
  } else {
    WriteValue(index, value);
  }
}

// --- the memory of texts ---

void RecordSet::DropReplacedTexts(const std::uint64_t* kept, const std::uint64_t* replaced) {
  for (const std::size_t i : structure_->text_fields()) {
    if (kept[i] != replaced[i]) texts_.Drop(replaced[i]);
  }
}

void RecordSet::CompactTexts() {
  TextArena compact;
  for (const std::uint32_t record : order_) {
    std::uint64_t* const cells = CellsOf(record);
    for (const std::size_t i : structure_->text_fields()) cells[i] = compact.Add(TextArena::Get(cells[i]));
  }
  texts_ = std::move(compact);
}

const std::string& Field::DisplayName() const {
  const FieldDef& field = set_->Definition(index_);
  return field.display_name.empty() ? field.name : field.display_name;
}

}  // namespace mox
