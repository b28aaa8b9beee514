#pragma once

#include <string>
#include <vector>

#include "mox/record_tools/record_tools.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// Raises FieldNotFound.
std::vector<std::size_t> FieldIndexes(const RecordTable& records, FieldNames names);

/// A text that two records have in common exactly where the values of these fields are the same.
std::string KeyText(const RecordRow& record, const std::vector<std::size_t>& fields);

}  // namespace mox

#pragma GCC visibility pop
