#pragma once

#include <algorithm>
#include <bit>

#include "mox/foundation/record_set.h"

namespace mox {

MOX_ALWAYS_INLINE Currency RecordSet::operator[](CurrencyName name) const {
  const std::size_t slot = now_.places->usual[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return ReadCurrencySlowly(name.id);
  return Currency::FromScaled(static_cast<std::int64_t>(now_.cells[slot]));
}

MOX_ALWAYS_INLINE Real RecordSet::operator[](FloatName name) const {
  const std::size_t slot = now_.places->usual[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return ReadFloatSlowly(name.id);
  return std::bit_cast<double>(now_.cells[slot]);
}

inline Amount RecordSet::Price(PriceName name) const {
  const std::size_t slot = now_.places->usual[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return Readable(IndexOf(name.id)).Price(name);
  return Currency::FromScaled(static_cast<std::int64_t>(now_.cells[slot]));
}

inline Currency RecordSet::Optional(CurrencyName name) const {
  return Has(name) ? (*this)[name] : Currency();
}

inline Real RecordSet::Optional(FloatName name) const { return Has(name) ? (*this)[name] : Real(0); }

inline std::int64_t RecordSet::operator[](IntegerName name) const { return AsInteger(IndexOf(name.id)); }

inline std::string RecordSet::operator[](TextName name) const { return AsText(IndexOf(name.id)); }

MOX_ALWAYS_INLINE void RecordSet::Set(CurrencyName name, Currency value) {
  const std::size_t slot = (*now_.writable)[name.id];
  if (slot != kNoSlot) [[likely]] {
    now_.cells[slot] = static_cast<std::uint64_t>(value.scaled());
    MarkWritten(slot);
  } else {
    SetSlowly(name.id, value);
  }
}

MOX_ALWAYS_INLINE void RecordSet::Set(FloatName name, Real value) {
  const std::size_t slot = (*now_.writable)[name.id];
  if (slot != kNoSlot) [[likely]] {
    now_.cells[slot] = std::bit_cast<std::uint64_t>(value.ToDouble());
    MarkWritten(slot);
  } else {
    SetSlowly(name.id, value.ToDouble());
  }
}

inline void RecordSet::Set(TextName name, std::string_view value) { SetText(IndexOf(name.id), value); }

inline void RecordSet::ShowRecord(std::size_t position) {
  now_.position = position;
  now_.cells = table_.Cells(now_.rows[position]);
  now_.eof = false;
  now_.bof = false;
}

inline void RecordSet::BecameCurrent() {
  if (now_.listening) [[unlikely]] {
    TellOfMove();
  } else if (const RecordTable::Id record = now_.rows[now_.position]; IsToBeCalculated(record)) {
    FireCalcFields(record);
  }
}

inline void RecordSet::MoveTo(std::size_t position) {
  ShowRecord(position);
  BecameCurrent();
}

inline void RecordSet::First() {
  if (now_.state != DataSetState::kBrowse) LeaveRecord();
  if (now_.row_count == 0) return;
  ShowRecord(0);
  now_.bof = true;
  BecameCurrent();
}

inline void RecordSet::Next() {
  if (now_.state != DataSetState::kBrowse) {
    LeaveForNext();
    return;
  }
  if (now_.position + 1 < now_.row_count) [[likely]] {
    const std::size_t ahead = now_.position + kFetchedAhead;
    if (now_.calculates && ahead < now_.row_count) table_.Fetch(now_.rows[ahead]);
    MoveTo(now_.position + 1);
  } else {
    now_.eof = true;
  }
}

inline void RecordSet::Edit() {
  if (now_.state != DataSetState::kBrowse || now_.row_count == 0) {
    RequireEditable();
    return;
  }
  table_.BeginEdit(now_.rows[now_.position]);
  now_.state = DataSetState::kEdit;
  now_.writable = &now_.places->usual;
  now_.modified = false;
  if (now_.listening) [[unlikely]] {
    BindWritable();
    Tell(RecordSetChange::kRecord, CurrentRow());
  }
}

inline void RecordSet::EndEditing() {
  table_.KeepEdit();
  now_.writable = &kNoSlots;
  now_.modified = false;
  now_.inserting = false;
  now_.state = DataSetState::kBrowse;
}

inline void RecordSet::Post() {
  if (now_.state == DataSetState::kEdit && !now_.observed && !now_.filtered) [[likely]] {
    EndEditing();
    if (now_.calculates) FireCalcFields(now_.rows[now_.position]);
    table_.CompactTextsIfWorthIt();
  } else {
    PostObserved();
  }
}

inline void RecordSet::PostPending() {
  if (now_.state != DataSetState::kBrowse && now_.state != DataSetState::kInactive) LeaveRecord();
}

inline double RecordSet::AsFloat(std::size_t index) const {
  if (index < now_.field_count && now_.kinds[index] == FieldKind::kFloat) [[likely]] {
    return std::bit_cast<double>(now_.cells[index]);
  }
  return Readable(index).AsFloat(index);
}

inline Currency RecordSet::AsCurrency(std::size_t index) const {
  if (index < now_.field_count && now_.kinds[index] == FieldKind::kCurrency) [[likely]] {
    return Currency::FromScaled(static_cast<std::int64_t>(now_.cells[index]));
  }
  return Readable(index).AsCurrency(index);
}

inline bool RecordSet::Locate(FloatName name, double value) {
  const std::size_t slot = now_.places->usual[name.id];
  if (slot == kNoSlot || now_.state != DataSetState::kBrowse) {
    return Locate(name.text, {Value(value)});
  }
  for (std::size_t i = 0; i < now_.row_count; ++i) {
    const std::uint64_t* const cells = table_.Cells(now_.rows[i]);
    if (std::bit_cast<double>(cells[slot]) == value && !table_.IsNull(cells, slot)) {
      MoveTo(i);
      return true;
    }
  }
  return false;
}

}  // namespace mox
