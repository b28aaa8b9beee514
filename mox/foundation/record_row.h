#pragma once

#include <bit>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/error.h"
#include "mox/foundation/field.h"
#include "mox/foundation/real.h"
#include "mox/foundation/record_memory.h"
#include "mox/foundation/record_structure.h"
#include "mox/foundation/vocabulary.h"

namespace mox {

/// One record of a set, read where it stands: reading moves nothing, posts nothing and fires nothing. It
/// holds until its set is changed. There is none while the set is closed: then reading raises StateError.
///
/// Reading converts between the kinds; what cannot be converted raises ConversionError that names the field.
/// Texts are handed out as views that hold as long. A null is 0, the empty text, and day 0 of the day count,
/// 30 December 1899, as a date.
class RecordRow {
 public:
  RecordRow(const Structure& structure, const std::string& set_name, const std::uint64_t* cells)
      : structure_(&structure), set_name_(&set_name), cells_(cells) {}

  std::size_t FieldCount() const { return structure_->fields().size(); }
  const FieldDef& Definition(std::size_t index) const { return structure_->fields().at(index); }

  std::optional<std::size_t> FindFieldIndex(std::string_view name) const { return structure_->Find(name); }
  /// Raises FieldNotFound.
  std::size_t IndexOf(std::string_view name) const;

  bool IsNull(std::size_t index) const {
    RequireIndex(index);
    return IsNullCell(index);
  }
  MOX_ALWAYS_INLINE double AsFloat(std::size_t index) const {
    if (Holds(index, FieldKind::kFloat)) [[likely]] {
      return std::bit_cast<double>(cells_[index]);
    }
    return ConvertedFloat(index);
  }
  MOX_ALWAYS_INLINE Currency AsCurrency(std::size_t index) const {
    if (Holds(index, FieldKind::kCurrency)) [[likely]] {
      return Currency::FromScaled(static_cast<std::int64_t>(cells_[index]));
    }
    return ConvertedCurrency(index);
  }
  std::int64_t AsInteger(std::size_t index) const;
  bool AsBoolean(std::size_t index) const;
  Date AsDate(std::size_t index) const;
  DateTime AsDateTime(std::size_t index) const;
  /// As the locale writes it; for a text field the text itself, for a binary one its bytes.
  std::string AsText(std::size_t index) const;
  /// Of a text or binary field only, without a copy.
  std::string_view AsTextView(std::size_t index) const;
  Value AsVariant(std::size_t index) const;
  /// A number through the field's display format, where it has one.
  std::string DisplayText(std::size_t index) const;

  MOX_ALWAYS_INLINE Currency operator[](CurrencyName name) const {
    const std::size_t slot = structure_->slot_tables().usual[name.id];
    if (slot == kNoSlot) [[unlikely]]
      return AsCurrency(IndexOf(name.id));
    return Currency::FromScaled(static_cast<std::int64_t>(cells_[slot]));
  }
  MOX_ALWAYS_INLINE Real operator[](FloatName name) const {
    const std::size_t slot = structure_->slot_tables().usual[name.id];
    if (slot == kNoSlot) [[unlikely]]
      return AsFloat(IndexOf(name.id));
    return std::bit_cast<double>(cells_[slot]);
  }
  std::int64_t operator[](IntegerName name) const { return AsInteger(IndexOf(name.id)); }
  std::string operator[](TextName name) const { return AsText(IndexOf(name.id)); }
  template <FieldKind K>
  bool Has(FieldName<K> name) const {
    return structure_->slot_tables().present[name.id] != kNoSlot;
  }
  /// 0 when the field is absent or null.
  Currency Optional(CurrencyName name) const { return Has(name) ? (*this)[name] : Currency(); }
  Real Optional(FloatName name) const { return Has(name) ? (*this)[name] : Real(0); }
  /// A unit price as an unrounded amount: one that stands in a float field keeps all of its decimals.
  Amount Price(PriceName name) const {
    const std::size_t slot = structure_->slot_tables().usual[name.id];
    if (slot == kNoSlot) [[unlikely]]
      return PriceOfAnyKind(IndexOf(name.id));
    return Currency::FromScaled(static_cast<std::int64_t>(cells_[slot]));
  }
  /// Where a name of the vocabulary stands. Raises FieldNotFound.
  std::size_t IndexOf(NameId id) const;
  /// Raises Error when there is no field at that position.
  void RequireIndex(std::size_t index) const {
    if (index >= structure_->size()) [[unlikely]]
      structure_->RefusePosition(index, *set_name_);
  }

 private:
  FieldKind KindOf(std::size_t index) const { return structure_->kinds()[index]; }
  bool Holds(std::size_t index, FieldKind kind) const {
    return index < structure_->size() && KindOf(index) == kind;
  }
  bool IsNullCell(std::size_t index) const {
    return reinterpret_cast<const NullMark*>(cells_ + structure_->size())[index] != NullMark::kValue;
  }
  Amount PriceOfAnyKind(std::size_t index) const;
  template <typename Result>
  Result Read(std::size_t index, Result (*convert)(const Value&)) const;
  double ConvertedFloat(std::size_t index) const;
  Currency ConvertedCurrency(std::size_t index) const;

  const Structure* structure_;
  const std::string* set_name_;
  const std::uint64_t* cells_;
};

}  // namespace mox
