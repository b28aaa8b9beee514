#pragma once

#include <algorithm>
#include <bit>

#include "mox/foundation/record_set.h"

namespace mox {

MOX_ALWAYS_INLINE void RecordSet::Set(CurrencyName name, Currency value) {
  const std::size_t slot = (*now_.writable)[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return SetSlowly(name.id, value);
  table_.WriteBits(now_.cells, slot, static_cast<std::uint64_t>(value.scaled()));
  now_.modified = true;
}

MOX_ALWAYS_INLINE void RecordSet::Set(FloatName name, Real value) {
  const std::size_t slot = (*now_.writable)[name.id];
  if (slot == kNoSlot) [[unlikely]]
    return SetSlowly(name.id, value.ToDouble());
  table_.WriteBits(now_.cells, slot, std::bit_cast<std::uint64_t>(value.ToDouble()));
  now_.modified = true;
}

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
  now_.writable = &UsualSlots();
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

}  // namespace mox
