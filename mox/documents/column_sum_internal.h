#pragma once

#include "mox/foundation/record_set.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// The sum of a column; 0 where there is none.
inline Currency SumOf(const RecordSet& records, std::string_view field) {
  Currency sum;
  const auto index = records.FindFieldIndex(field);
  if (!index) return sum;
  for (const RecordRow& row : records.Rows()) sum += row.AsCurrency(*index);
  return sum;
}

}  // namespace mox

#pragma GCC visibility pop
