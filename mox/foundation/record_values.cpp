#include <cmath>

#include "mox/foundation/record_set.h"

namespace mox {

// --- rows ---

RecordTable::Id RecordSet::RecordOfRow(std::size_t row) const {
  if (row >= RowCount()) {
    throw Error(Name() + ": there is no row at place " + std::to_string(row) + " of " +
                std::to_string(RowCount()));
  }
  if (!now_.inserting) return now_.rows[row];
  const std::size_t pending = PendingRow();
  if (row == pending) return now_.pending;
  return now_.rows[row < pending ? row : row - 1];
}

std::size_t RecordSet::NumberOfRow(std::size_t row) const {
  const RecordTable::Id record = RecordOfRow(row);
  if (!now_.inserting) return OrderIndexOf(record, row) + 1;
  const std::size_t pending = PendingRow();
  if (row == pending) return now_.pending_at + 1;
  return row < pending ? OrderIndexOf(record, row) + 1 : OrderIndexOf(record, row - 1) + 2;
}

RecordRow RecordSet::RowAt(std::size_t row) const { return table_.Row(table_.Cells(RecordOfRow(row))); }

// --- reading the current record ---

RecordRow RecordSet::Readable(std::size_t index) const {
  RequireIndex(index);
  if (!IsActive()) throw StateError(Definition(index).name + ": the record set " + Name() + " is closed");
  return table_.Row(now_.cells);
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
  if (now_.inserting) return {};
  if (!table_.IsUnderEdit()) return current.AsVariant(index);
  return table_.Row(table_.PostedCells(now_.rows[now_.position])).AsVariant(index);
}

// --- writing it ---

void RecordSet::RequireWritable(std::size_t index) const {
  const bool open = now_.state == DataSetState::kEdit || now_.state == DataSetState::kInsert;
  if (open && index < now_.field_count) [[likely]]
    return;
  RequireIndex(index);
  const FieldDef& field = Definition(index);
  switch (now_.state) {
    case DataSetState::kEdit:
    case DataSetState::kInsert:
      return;
    case DataSetState::kCalcFields:
      if (field.calculated) return;
      throw StateError(field.name + ": inside the calculate-fields event only calculated fields are written");
    case DataSetState::kInactive:
      throw StateError(field.name + ": the record set " + Name() + " is closed");
    default:
      throw StateError(field.name + ": the record is not being edited or inserted");
  }
}

void RecordSet::Wrote(std::size_t index) {
  now_.modified = true;
  if (now_.listening && now_.state != DataSetState::kCalcFields) {
    Tell(RecordSetChange::kCell, CurrentRow(), index);
  }
}

void RecordSet::WriteValue(std::size_t index, const Value& value) {
  RequireWritable(index);
  table_.Write(now_.cells, index, value);
  Wrote(index);
}

void RecordSet::SetNull(std::size_t index) { WriteValue(index, Value()); }

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
  if (!HoldsText(Definition(index).kind)) return WriteValue(index, std::string(value));
  table_.WriteText(now_.cells, index, value);
  Wrote(index);
}

void RecordSet::SetVariant(std::size_t index, const Value& value) {
  RequireIndex(index);
  if (const auto* number = std::get_if<double>(&value)) {
    SetFloat(index, *number);
  } else {
    WriteValue(index, value);
  }
}

const std::string& Field::DisplayName() const {
  const FieldDef& field = set_->Definition(index_);
  return field.display_name.empty() ? field.name : field.display_name;
}

}  // namespace mox
