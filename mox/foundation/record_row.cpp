#include "mox/foundation/record_row.h"

#include "mox/foundation/app.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

std::size_t RecordRow::IndexOf(std::string_view name) const {
  if (const auto index = FindFieldIndex(name)) return *index;
  throw FieldNotFound(name, *set_name_);
}

std::size_t RecordRow::IndexOf(NameId id) const {
  const std::size_t slot = structure_->slot_tables().present[id];
  if (slot != kNoSlot) return slot;
  const std::string name(kVocabulary[static_cast<std::size_t>(id)].name);
  if (!structure_->IsLaidOut()) throw StateError(name + ": the record set " + *set_name_ + " is closed");
  throw FieldNotFound(name, *set_name_);
}

Value RecordRow::AsVariant(std::size_t index) const {
  RequireIndex(index);
  if (IsNullCell(index)) return {};
  const std::uint64_t bits = cells_[index];
  const auto integer = static_cast<std::int64_t>(bits);
  switch (KindOf(index)) {
    case FieldKind::kInteger:
      return integer;
    case FieldKind::kBoolean:
      return bits != 0;
    case FieldKind::kFloat:
      return std::bit_cast<double>(bits);
    case FieldKind::kCurrency:
      return Currency::FromScaled(integer);
    case FieldKind::kDate:
      return Date{static_cast<std::int32_t>(integer)};
    case FieldKind::kDateTime:
      return DateTime{integer};
    case FieldKind::kText:
    case FieldKind::kBinary:
      break;
  }
  return std::string(TextArena::Get(bits));
}

template <typename Result>
Result RecordRow::Read(std::size_t index, Result (*convert)(const Value&)) const {
  const Value value = AsVariant(index);
  try {
    return convert(value);
  } catch (const ConversionError& error) {
    throw ConversionError(Definition(index).name + ": " + error.what());
  }
}

double RecordRow::ConvertedFloat(std::size_t index) const { return Read(index, ToFloat); }
Currency RecordRow::ConvertedCurrency(std::size_t index) const { return Read(index, ToCurrency); }

std::int64_t RecordRow::AsInteger(std::size_t index) const {
  if (Holds(index, FieldKind::kInteger)) return static_cast<std::int64_t>(cells_[index]);
  return Read(index, ToInteger);
}

bool RecordRow::AsBoolean(std::size_t index) const {
  if (Holds(index, FieldKind::kBoolean)) return cells_[index] != 0;
  return Read(index, ToBoolean);
}

Date RecordRow::AsDate(std::size_t index) const {
  if (Holds(index, FieldKind::kDate) && !IsNullCell(index)) {
    return Date{static_cast<std::int32_t>(cells_[index])};
  }
  return Read(index, ToDate);
}

DateTime RecordRow::AsDateTime(std::size_t index) const {
  if (Holds(index, FieldKind::kDateTime) && !IsNullCell(index)) {
    return DateTime{static_cast<std::int64_t>(cells_[index])};
  }
  return Read(index, ToDateTime);
}

std::string RecordRow::AsText(std::size_t index) const { return ToText(AsVariant(index)); }

std::string_view RecordRow::AsTextView(std::size_t index) const {
  RequireIndex(index);
  if (!HoldsText(KindOf(index))) throw Error(Definition(index).name + ": the field holds no text");
  return TextArena::Get(cells_[index]);
}

std::string RecordRow::DisplayText(std::size_t index) const {
  RequireIndex(index);
  const FieldDef& field = Definition(index);
  if (field.display_format.empty() || IsNullCell(index)) return AsText(index);
  switch (field.kind) {
    case FieldKind::kCurrency:
      return FormatFloat(field.display_format, AsCurrency(index), CurrentLocale());
    case FieldKind::kFloat:
    case FieldKind::kInteger:
      return FormatFloat(field.display_format, AsFloat(index), CurrentLocale());
    default:
      return AsText(index);
  }
}

Amount RecordRow::PriceOfAnyKind(std::size_t index) const {
  return KindOf(index) == FieldKind::kFloat ? Amount::OfUnits(AsFloat(index)) : Amount(AsCurrency(index));
}

}  // namespace mox
