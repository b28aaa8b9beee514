#pragma once

#include <cstddef>
#include <span>
#include <string>

#include "mox/foundation/output_file.h"
#include "mox/foundation/record_set.h"
#include "mox/import/import_grid.h"

namespace mox {

/// Where each row of a grid stands in its sheet, from 1 behind the heading.
using RowNumbers = std::span<const std::size_t>;

/// All faults of a grid that was checked as plain text: one line for each faulty row, its number in the
/// sheet, a tab and its fault text, which is whole here.
std::string FaultLines(const TfrmImportGrid& form, RowNumbers numbers);

/// A file of these lines.
extern const OutputKind kFaultList;

/// All faults as a record-set file: a record each, as FaultTable has them.
std::string FaultRecords(const TfrmImportGrid& form, RowNumbers numbers);

/// Such a file.
extern const OutputKind kFaultRecords;

/// The first `most` faults, a record each: `row`, `column`, `value` and `reason`.
RecordSet FaultTable(const TfrmImportGrid& form, RowNumbers numbers, std::size_t most);

/// How many rows have faults.
std::size_t FaultyRows(const TfrmImportGrid& form);

}  // namespace mox
