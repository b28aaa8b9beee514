#pragma once

#include <algorithm>
#include <bit>

#include "mox/foundation/record_set.h"
#include "mox/foundation/value_conversion.h"

namespace mox {

inline Currency RecordSet::operator[](CurrencyName name) const {
  const FieldSlot slot = slots_[static_cast<std::size_t>(name.id)];
  if (slot.Is(FieldKind::kCurrency)) [[likely]] {
    return Currency::FromScaled(static_cast<std::int64_t>(cells_[slot.index()]));
  }
  return AsCurrency(IndexOf(name.id));
}

inline Real RecordSet::operator[](FloatName name) const {
  const FieldSlot slot = slots_[static_cast<std::size_t>(name.id)];
  if (slot.Is(FieldKind::kFloat)) [[likely]]
    return std::bit_cast<double>(cells_[slot.index()]);
  return AsFloat(IndexOf(name.id));
}

inline std::int64_t RecordSet::operator[](IntegerName name) const { return AsInteger(IndexOf(name.id)); }

inline std::string RecordSet::operator[](TextName name) const { return AsText(IndexOf(name.id)); }

inline void RecordSet::Set(CurrencyName name, Currency value) {
  const FieldSlot slot = slots_[static_cast<std::size_t>(name.id)];
  if (slot.Is(FieldKind::kCurrency) && slot.Allows(writable_)) [[likely]] {
    cells_[slot.index()] = static_cast<std::uint64_t>(value.scaled());
    MarkCell(cells_, slot.index(), false);
    modified_ = true;
    return;
  }
  SetCurrency(IndexOf(name.id), value);
}

inline void RecordSet::Set(FloatName name, Real value) {
  const FieldSlot slot = slots_[static_cast<std::size_t>(name.id)];
  if (slot.Is(FieldKind::kFloat) && slot.Allows(writable_)) [[likely]] {
    cells_[slot.index()] = std::bit_cast<std::uint64_t>(value.ToDouble());
    MarkCell(cells_, slot.index(), false);
    modified_ = true;
    return;
  }
  SetFloat(IndexOf(name.id), value.ToDouble());
}

inline void RecordSet::Set(TextName name, std::string_view value) { SetText(IndexOf(name.id), value); }

inline void RecordSet::BecameCurrent() {
  if (watched_) [[unlikely]] {
    if (on_calc_fields_) FireCalcFields();
    Notify(RecordSetChange::kMoved);
  }
}

inline void RecordSet::ShowRecord(std::size_t position) {
  position_ = position;
  cells_ = CellsOf(rows_[position]);
}

inline void RecordSet::MoveTo(std::size_t position) {
  ShowRecord(position);
  eof_ = false;
  bof_ = false;
  BecameCurrent();
}

inline void RecordSet::First() {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  if (row_count_ == 0) return;
  MoveTo(0);
  bof_ = true;
}

inline void RecordSet::Next() {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  if (position_ + 1 < row_count_) [[likely]] {
    MoveTo(position_ + 1);
  } else {
    eof_ = true;
  }
}

inline void RecordSet::Edit() {
  if (state_ != DataSetState::kBrowse || row_count_ == 0) {
    RequireEditable();
    return;
  }
  std::copy_n(cells_ - header_words_, undo_.size(), undo_.begin());
  has_undo_ = true;
  state_ = DataSetState::kEdit;
  writable_ = FieldSlot::kEditable;
  modified_ = false;
}

inline void RecordSet::EndEditing() {
  has_undo_ = false;
  replaced_text_ = false;
  writable_ = 0;
  modified_ = false;
  state_ = DataSetState::kBrowse;
}

inline void RecordSet::Post() {
  if (state_ == DataSetState::kEdit && !watched_ && !filtered_ && !replaced_text_) [[likely]] {
    EndEditing();
  } else {
    PostSlowly();
  }
}

inline double RecordSet::AsFloat(std::size_t index) const {
  if (index < field_count_ && kinds_[index] == FieldKind::kFloat) [[likely]] {
    return std::bit_cast<double>(cells_[index]);
  }
  return Read(index, ToFloat);
}

inline Currency RecordSet::AsCurrency(std::size_t index) const {
  if (index < field_count_ && kinds_[index] == FieldKind::kCurrency) [[likely]] {
    return Currency::FromScaled(static_cast<std::int64_t>(cells_[index]));
  }
  return Read(index, ToCurrency);
}

inline bool RecordSet::Locate(FloatName name, double value) {
  const FieldSlot slot = slots_[static_cast<std::size_t>(name.id)];
  if (!slot.Is(FieldKind::kFloat) || state_ != DataSetState::kBrowse) {
    return Locate(name.text, {Value(value)});
  }
  for (std::size_t i = 0; i < row_count_; ++i) {
    const std::uint64_t* cells = CellsOf(rows_[i]);
    if (std::bit_cast<double>(cells[slot.index()]) == value && !IsNullCell(cells, slot.index())) {
      MoveTo(i);
      return true;
    }
  }
  return false;
}

}  // namespace mox
