#pragma once

#include "mox/foundation/record_set.h"

namespace mox {

/// Calls visit() at each record, with the controls disabled, and goes back to the current one.
template <typename Visit>
void ForEachRecord(RecordSet& records, Visit visit) {
  const ControlsGuard guard(records);
  SavedPosition position(records);
  for (records.First(); !records.Eof(); records.Next()) visit();
  position.Restore();
}

/// The sum of a column; 0 where there is none.
inline Currency SumOf(RecordSet& records, std::string_view field) {
  Currency sum;
  const auto index = records.FindFieldIndex(field);
  if (index) ForEachRecord(records, [&] { sum += records.AsCurrency(*index); });
  return sum;
}

}  // namespace mox
