#include "cli/import_faults.h"

#include <algorithm>
#include <utility>

#include "cli/record_set_file.h"

namespace mox {
namespace {

bool BeginsWithRowNumber(std::string_view text) {
  const std::size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
  return digits > 0 && digits < text.size() && text[digits] == '\t';
}

}  // namespace

const OutputKind kFaultList = {"a list of faults", BeginsWithRowNumber};
const OutputKind kFaultRecords = {"a list of faults", [](std::string_view text) {
                                    return text.starts_with("row:integer,column:text,value:text,reason:text");
                                  }};

std::string FaultRecords(const TfrmImportGrid& form, RowNumbers numbers) {
  std::string records;
  WriteRecordSet(FaultTable(form, numbers, form.Faults().size()), records);
  return records;
}

std::string FaultLines(const TfrmImportGrid& form, RowNumbers numbers) {
  std::string lines;
  std::size_t row = 0;
  for (const ImportFault& fault : form.Faults()) {
    if (fault.row != row) {
      lines += (row == 0 ? "" : "\n") + std::to_string(numbers[fault.row - 1]) + "\t";
      row = fault.row;
    }
    std::string fragment = FaultFragment(fault, form.Fields()[fault.column]);
    std::replace_if(
        fragment.begin(), fragment.end(), [](char c) { return c == '\r' || c == '\n' || c == '\t'; }, ' ');
    lines += fragment;
  }
  return lines.empty() ? lines : lines + "\n";
}

RecordSet FaultTable(const TfrmImportGrid& form, RowNumbers numbers, std::size_t most) {
  RecordSet table("faults");
  table.DefineField("row", FieldKind::kInteger);
  table.DefineField("column", FieldKind::kText);
  table.DefineField("value", FieldKind::kText);
  table.DefineField("reason", FieldKind::kText);
  table.Open();
  for (const ImportFault& fault : form.Faults().first(std::min(most, form.Faults().size()))) {
    table.AppendRecord({static_cast<std::int64_t>(numbers[fault.row - 1]),
                        form.Fields()[fault.column].field_name, fault.value, fault.reason});
  }
  return table;
}

std::size_t FaultyRows(const TfrmImportGrid& form) {
  std::size_t rows = 0;
  std::size_t last = 0;
  for (const ImportFault& fault : form.Faults())
    rows += std::exchange(last, fault.row) != fault.row ? 1U : 0U;
  return rows;
}

}  // namespace mox
