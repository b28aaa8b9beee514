#pragma once

#include <algorithm>
#include <bit>

#include "mox/foundation/record_set.h"

namespace mox {

MOX_ALWAYS_INLINE Currency RecordSet::operator[](CurrencyName name) const {
  const std::size_t slot = slots_->usual[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return ReadCurrencySlowly(name.id);
  return Currency::FromScaled(static_cast<std::int64_t>(cells_[slot]));
}

MOX_ALWAYS_INLINE Real RecordSet::operator[](FloatName name) const {
  const std::size_t slot = slots_->usual[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return ReadFloatSlowly(name.id);
  return std::bit_cast<double>(cells_[slot]);
}

inline Amount RecordSet::Price(PriceName name) const {
  const std::size_t slot = slots_->usual[name.id];
  if (slot == kNoSlot) [[unlikely]] {
    return Readable(IndexOf(name.id)).Price(name);
  }
  return Currency::FromScaled(static_cast<std::int64_t>(cells_[slot]));
}

inline Currency RecordSet::Optional(CurrencyName name) const {
  const std::size_t slot = slots_->usual[name.id];
  if (slot != kNoSlot) [[likely]]
    return Currency::FromScaled(static_cast<std::int64_t>(cells_[slot]));
  return Has(name) ? ReadCurrencySlowly(name.id) : Currency();
}

inline Real RecordSet::Optional(FloatName name) const {
  const std::size_t slot = slots_->usual[name.id];
  if (slot != kNoSlot) [[likely]]
    return std::bit_cast<double>(cells_[slot]);
  return Has(name) ? Real(ReadFloatSlowly(name.id)) : Real(0);
}

inline std::int64_t RecordSet::operator[](IntegerName name) const { return AsInteger(IndexOf(name.id)); }

inline std::string RecordSet::operator[](TextName name) const { return AsText(IndexOf(name.id)); }

MOX_ALWAYS_INLINE void RecordSet::Set(CurrencyName name, Currency value) {
  const std::size_t slot = (*writable_)[name.id];
  if (slot != kNoSlot) [[likely]] {
    cells_[slot] = static_cast<std::uint64_t>(value.scaled());
    MarkCell(cells_, slot, false);
    modified_ = true;
  } else {
    SetSlowly(name.id, value);
  }
}

MOX_ALWAYS_INLINE void RecordSet::Set(FloatName name, Real value) {
  const std::size_t slot = (*writable_)[name.id];
  if (slot != kNoSlot) [[likely]] {
    cells_[slot] = std::bit_cast<std::uint64_t>(value.ToDouble());
    MarkCell(cells_, slot, false);
    modified_ = true;
  } else {
    SetSlowly(name.id, value.ToDouble());
  }
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
  eof_ = false;
  bof_ = false;
}

inline void RecordSet::MoveTo(std::size_t position) {
  ShowRecord(position);
  BecameCurrent();
}

inline void RecordSet::First() {
  if (state_ != DataSetState::kBrowse) LeaveRecord();
  if (row_count_ == 0) return;
  MoveTo(0);
  bof_ = true;
}

inline void RecordSet::Next() {
  if (state_ != DataSetState::kBrowse) {
    LeaveForNext();
    return;
  }
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
  std::memcpy(undo_.data(), cells_, undo_.size() * sizeof(std::uint64_t));
  has_undo_ = true;
  state_ = DataSetState::kEdit;
  writable_ = &slots_->usual;
  modified_ = false;
}

inline void RecordSet::EndEditing() {
  has_undo_ = false;
  replaced_text_ = false;
  writable_ = &kNoSlots;
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

inline void RecordSet::PostPending() {
  if (state_ != DataSetState::kBrowse && state_ != DataSetState::kInactive) LeaveRecord();
}

inline double RecordSet::AsFloat(std::size_t index) const {
  if (index < field_count_ && kinds_[index] == FieldKind::kFloat) [[likely]] {
    return std::bit_cast<double>(cells_[index]);
  }
  return Readable(index).AsFloat(index);
}

inline Currency RecordSet::AsCurrency(std::size_t index) const {
  if (index < field_count_ && kinds_[index] == FieldKind::kCurrency) [[likely]] {
    return Currency::FromScaled(static_cast<std::int64_t>(cells_[index]));
  }
  return Readable(index).AsCurrency(index);
}

inline bool RecordSet::Locate(FloatName name, double value) {
  const std::size_t slot = slots_->usual[name.id];
  if (slot == kNoSlot || state_ != DataSetState::kBrowse) {
    return Locate(name.text, {Value(value)});
  }
  for (std::size_t i = 0; i < row_count_; ++i) {
    const std::uint64_t* const cells = CellsOf(rows_[i]);
    if (std::bit_cast<double>(cells[slot]) == value && !IsNullCell(cells, slot)) {
      MoveTo(i);
      return true;
    }
  }
  return false;
}

}  // namespace mox
