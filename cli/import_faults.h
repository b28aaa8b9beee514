#pragma once

#include <cstddef>
#include <string>

#include "mox/foundation/output_file.h"
#include "mox/foundation/record_set.h"
#include "mox/import/import_grid.h"

namespace mox {

/// All faults of a grid that was checked as plain text: one line for each faulty row, its number from 1, a
/// tab and its fault text, which is whole here.
std::string FaultLines(const TfrmImportGrid& form);

/// A file of these lines.
extern const OutputKind kFaultList;

/// The first `most` faults, a record each: `row`, `column`, `value` and `reason`.
RecordSet FaultTable(const TfrmImportGrid& form, std::size_t most);

/// How many rows have faults.
std::size_t FaultyRows(const TfrmImportGrid& form);

}  // namespace mox
