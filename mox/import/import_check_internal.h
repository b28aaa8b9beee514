#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <span>
#include <vector>

#include "mox/foundation/record_set.h"
#include "mox/import/import_check.h"
#include "mox/import/import_rules_internal.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// The check in its two halves: first all questions to the database, in the order of the columns and of
/// their passes, then the rows one after the other, each through all passes.
class ImportCheck {
 public:
  /// All must outlive the check. `typed` is open and empty.
  ImportCheck(std::span<const ImportFieldDef> profile, const RecordTable& rows, RecordSet& typed);

  /// Where a question raises, the passes before it are left to be run.
  void Ask(ImportLookups& lookups);
  /// `reached` is told every so many rows how far it is; what it raises ends the check.
  std::vector<ImportFault> Run(const std::function<void(std::size_t row)>& reached = nullptr);

 private:
  // A column with those of its passes that are run.
  struct Column {
    std::size_t position;
    std::size_t from;
    std::size_t to;
    bool is_required;
    bool runs[4];
    ColumnRules rules;
    std::uint64_t hash;  // of the value of the row that is being checked, where it is looked up
  };

  void AskColumn(Column& column, ImportLookups& lookups);
  ImportValues ValuesOf(const Column& column, ImportLookups& lookups);
  void FetchKnown(const RecordRow& row);
  void CheckRow(const RecordRow& row, std::size_t number, std::vector<ImportFault>& faults);

  std::span<const ImportFieldDef> profile_;
  const RecordTable& rows_;
  RecordSet& typed_;
  std::vector<Column> columns_;
  std::vector<std::size_t> looked_up_;  // of the columns, those with a look-up
  std::vector<ImportValues> values_;    // by position; while questions are asked
};

}  // namespace mox

#pragma GCC visibility pop
