#pragma once

#include <algorithm>
#include <bit>

#include "mox/foundation/record_set.h"

namespace mox {

MOX_ALWAYS_INLINE void RecordSet::Set(CurrencyName name, Currency value) {
  const std::size_t slot = (*now_.writable)[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return SetSlowly(name.id, value);
  table_.WriteBits(cursor_.cells(), slot, static_cast<std::uint64_t>(value.scaled()));
  now_.modified = true;
}

MOX_ALWAYS_INLINE void RecordSet::Set(FloatName name, Real value) {
  const std::size_t slot = (*now_.writable)[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return SetSlowly(name.id, value.ToDouble());
  table_.WriteBits(cursor_.cells(), slot, std::bit_cast<std::uint64_t>(value.ToDouble()));
  now_.modified = true;
}

inline void RecordSet::BecameCurrent() {
  if (now_.listening) [[unlikely]] {
    TellOfMove();
  } else if (now_.calculates) {
    if (const auto record = cursor_.VisibleRecord(); calculation_.IsDue(record)) FireCalcFields(record);
  }
}

inline void RecordSet::MoveTo(std::size_t position) {
  cursor_.Show(table_, position);
  BecameCurrent();
}

inline void RecordSet::First() {
  Leave();
  if (cursor_.ToFirst(table_)) BecameCurrent();
}

inline void RecordSet::Next() {
  if (now_.state != DataSetState::kBrowse) return LeaveForNext();
  if (now_.calculates) cursor_.FetchAhead(table_);
  if (cursor_.ToNext(table_)) [[likely]]
    BecameCurrent();
}

inline void RecordSet::Edit() {
  if (now_.state != DataSetState::kBrowse || IsEmpty()) return RequireEditable();
  table_.BeginEdit(cursor_.VisibleRecord(), cursor_.cells());
  now_.state = DataSetState::kEdit;
  now_.writable = &UsualSlots();
  now_.modified = false;
  if (now_.listening) [[unlikely]] {
    BindWritable();
    Tell(RecordSetChange::kRecord, CurrentRow());
  }
}

inline void RecordSet::EndEditing() {
  table_.KeepEdit();
  cursor_.EndInsert();
  now_.writable = &kNoSlots;
  now_.modified = false;
  now_.state = DataSetState::kBrowse;
}

inline void RecordSet::Post() {
  if (now_.state == DataSetState::kEdit && !now_.observed && !IsFiltered()) [[likely]] {
    EndEditing();
    if (now_.calculates) FireCalcFields(cursor_.VisibleRecord());
    table_.CompactTextsIfWorthIt();
  } else {
    PostObserved();
  }
}

inline void RecordSet::PostPending() {
  if (now_.state != DataSetState::kBrowse && now_.state != DataSetState::kInactive) LeaveRecord();
}

}  // namespace mox
