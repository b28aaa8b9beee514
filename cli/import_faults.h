#pragma once

#include <string>

#include "mox/foundation/output_file.h"
#include "mox/foundation/record_set.h"
#include "mox/import/import_grid.h"

namespace mox {

/// The grid's faulty rows as plain text: one line a row, its number from 1, a tab and its fault text.
std::string FaultLines(TfrmImportGrid& form);

/// A file of these lines.
extern const OutputKind kFaultList;

/// All faults of a grid that was checked, a record each: `row`, `column`, `value` and `reason`. The fault
/// text of a row has no place for many; so the faulty rows are checked once more, pass by pass.
RecordSet CollectFaults(TfrmImportGrid& form);

}  // namespace mox
