#include <vector>

#include "mox/foundation/error.h"
#include "mox/validations/dialogs_internal.h"
#include "mox/validations/validations.h"

namespace mox {
namespace {

constexpr std::string_view kIncomplete = "Nepotpun unos!";
constexpr std::string_view kNotUnique = "Neispravan unos";

// Among all records as they were posted, whatever the filter: the record whose value is checked counts as it
// was before its edit, and not at all while it is inserted.
bool IsRepeated(const ConstField& field) {
  const RecordSet& records = field.DataSet();
  if (!records.IsActive()) return false;
  const Value value = field.AsVariant();
  std::size_t count = 0;
  for (const RecordRow& row : records.Table()) count += row.AsVariant(field.Index()) == value ? 1 : 0;
  const bool counts_itself =
      records.State() != DataSetState::kInsert && records.OldVariant(field.Index()) == value;
  return count > (counts_itself ? 1U : 0U);
}

// Of a value and one that was found by it in the other's kind: nothing was cut off for it.
bool IsSame(const ConstField& value, const RecordRow& found, std::size_t index) {
  switch (found.Definition(index).kind) {
    case FieldKind::kInteger:
    case FieldKind::kCurrency:
      return found.AsFloat(index) == value.AsFloat();
    case FieldKind::kDate:
      return found.AsDateTime(index) == value.AsDateTime();
    default:
      return true;
  }
}

bool IsThere(const ConstField& field, const RecordSet& records) {
  const auto index = records.FindFieldIndex(field.Name());
  if (!index || !records.IsActive()) return false;
  const Value values[] = {field.AsVariant()};
  try {
    const auto row = records.FindRow(field.Name(), values);
    return row && IsSame(field, records.RowAt(*row), *index);
  } catch (const ConversionError&) {  // no field of that kind can hold the value
  } catch (const Overflow&) {
  }
  return false;
}

// An insert that nobody touched is no record: a move drops it.
bool IsRecord(const RecordSet& records, std::size_t row) {
  return records.State() != DataSetState::kInsert || records.IsModified() || row != records.CurrentRow();
}

}  // namespace

bool CheckRequiredFields(const RecordSet& records) {
  Lines lines;
  for (std::size_t i = records.FieldCount(); i-- > 0;) {
    const FieldDef& field = records.Definition(i);
    if (field.required && !Holds([&] { return !records.AsText(i).empty(); })) {
      lines.Add("Polje '" + field.Label() + "' nije popunjeno!");
    }
  }
  return lines.NoneOrWarn(kIncomplete);
}

bool CheckRequiredFieldsFull(const RecordSet& records, std::span<const ConstField> fields) {
  std::vector<bool> told(fields.size());
  Lines lines;
  for (std::size_t row = 0; row < records.RowCount(); ++row) {
    if (!IsRecord(records, row)) continue;
    const RecordRow record = records.RowAt(row);
    for (std::size_t i = 0; i < fields.size(); ++i) {
      if (told[i] || Holds([&] { return record.AsFloat(fields[i].Index()) > 0; })) continue;
      told[i] = true;
      lines.Add("Polje '" + fields[i].DisplayName() + "' mora biti veće od nule!");
    }
  }
  return lines.NoneOrWarn(kIncomplete);
}

bool CheckFieldUnique(const ConstField& field) {
  return !IsRepeated(field) ||
         Warn(kNotUnique, "Polje '" + field.DisplayName() + "' unešeno je više puta sa istom vrijednošću (" +
                              field.AsText() + ")!");
}

bool CheckFieldUnique(const ConstField& field, const RecordSet& records) {
  const bool taken = &records == &field.DataSet() ? IsRepeated(field) : IsThere(field, records);
  return !taken || Warn(kNotUnique, "Polje '" + field.DisplayName() +
                                        "' sa ovom vrijednosti već postoji.\r\nMolim popravite.");
}

}  // namespace mox
