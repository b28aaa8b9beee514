#include <vector>

#include "mox/foundation/error.h"
#include "mox/validations/dialogs_internal.h"
#include "mox/validations/validations.h"

namespace mox {
namespace {

constexpr std::string_view kIncomplete = "Nepotpun unos!";
constexpr std::string_view kNotUnique = "Neispravan unos";

// A walk over the set itself would post the record whose value is checked, so a copy is walked. It holds that
// record as it was before its edit, and not at all while it is inserted.
bool IsRepeated(const Field& field) {
  const RecordSet& records = field.DataSet();
  const Value value = field.AsVariant();
  RecordSet copy;
  copy.CleanClone(records);
  std::size_t count = 0;
  for (copy.First(); !copy.Eof(); copy.Next()) {
    if (copy.AsVariant(field.Index()) == value) ++count;
  }
  const bool counts_itself =
      records.State() != DataSetState::kInsert && records.OldVariant(field.Index()) == value;
  return count > (counts_itself ? 1U : 0U);
}

// Of a value and one that was found by it in the other's kind: nothing was cut off for it.
bool IsSame(const Field& value, const Field& found) {
  switch (found.Kind()) {
    case FieldKind::kInteger:
    case FieldKind::kCurrency:
      return found.AsFloat() == value.AsFloat();
    case FieldKind::kDate:
      return found.AsDateTime() == value.AsDateTime();
    default:
      return true;
  }
}

bool IsThere(const Field& field, RecordSet& records) {
  const ControlsGuard guard(records);
  SavedPosition position(records);
  bool found = false;
  try {
    found =
        records.Locate(field.Name(), {field.AsVariant()}) && IsSame(field, records.FieldByName(field.Name()));
  } catch (const ConversionError&) {  // no field of that kind can hold the value
  } catch (const Overflow&) {
  }
  position.Restore();
  return found;
}

}  // namespace

bool CheckRequiredFields(RecordSet& records) {
  Lines lines;
  for (std::size_t i = records.FieldCount(); i-- > 0;) {
    const Field field = records.FieldAt(i);
    if (field.Required() && field.AsText().empty()) {
      lines.Add("Polje '" + field.DisplayName() + "' nije popunjeno!");
    }
  }
  return lines.NoneOrWarn(kIncomplete);
}

bool CheckRequiredFieldsFull(RecordSet& records, std::span<const Field> fields) {
  std::vector<bool> told(fields.size());
  Lines lines;
  {
    const ControlsGuard guard(records);
    SavedPosition position(records);
    for (records.First(); !records.Eof(); records.Next()) {
      for (std::size_t i = 0; i < fields.size(); ++i) {
        if (told[i] || fields[i].AsFloat() > 0) continue;
        told[i] = true;
        lines.Add("Polje '" + fields[i].DisplayName() + "' mora biti veće od nule!");
      }
    }
    position.Restore();
  }
  return lines.NoneOrWarn(kIncomplete);
}

bool CheckFieldUnique(const Field& field) {
  return !IsRepeated(field) ||
         Warn(kNotUnique, "Polje '" + field.DisplayName() + "' unešeno je više puta sa istom vrijednošću (" +
                              field.AsText() + ")!");
}

bool CheckFieldUnique(const Field& field, RecordSet& records) {
  const bool taken = &records == &field.DataSet() ? IsRepeated(field) : IsThere(field, records);
  return !taken || Warn(kNotUnique, "Polje '" + field.DisplayName() +
                                        "' sa ovom vrijednosti već postoji.\r\nMolim popravite.");
}

}  // namespace mox
