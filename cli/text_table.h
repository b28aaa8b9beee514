#pragma once

#include <string>

#include "mox/foundation/record_set.h"

namespace mox {

struct TableOptions {
  bool number_records = false;  ///< a leading column counts the records
  bool hide_empty = false;      ///< leaves out columns of nothing but nulls, zeros and empty texts
  std::size_t width = 120;      ///< in characters; wider tables continue below themselves
};

/// Appends the records as a table for people: numbers as the locale writes them, to the right and with their
/// decimal separators in line, long texts cut.
void AppendTable(const RecordSet& records, const TableOptions& options, std::string& out);

/// As a table, or as a record-set file.
void AppendTableOrFile(const RecordSet& records, bool table, std::string& out,
                       const TableOptions& options = {});

}  // namespace mox
