#pragma once

#include "mox/foundation/record_set.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// Calls visit(row) with each row, of which nothing moves, posts or calculates.
template <typename Visit>
void ForEachRow(const RecordSet& records, Visit visit) {
  for (std::size_t row = 0; row < records.RowCount(); ++row) visit(records.RowAt(row));
}

/// The sum of a column; 0 where there is none.
inline Currency SumOf(const RecordSet& records, std::string_view field) {
  Currency sum;
  const auto index = records.FindFieldIndex(field);
  if (index) ForEachRow(records, [&](const RecordRow& row) { sum += row.AsCurrency(*index); });
  return sum;
}

}  // namespace mox

#pragma GCC visibility pop
