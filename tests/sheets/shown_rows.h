#pragma once

#include <string>

#include "sheets/sheet_rows.h"

namespace mox {

/// A cell with a mark of its kind before its text: # number, @ date or moment, ? truth value; its fault in
/// brackets behind it.
inline std::string ShownCell(const SheetCell& cell) {
  const char* const marks[] = {"", "#", "@", "@", "?"};
  std::string shown = marks[static_cast<std::size_t>(cell.kind)] + std::string(cell.text);
  if (!cell.fault.empty()) shown += "(" + std::string(cell.fault.substr(0, cell.fault.find(':'))) + ")";
  return shown;
}

/// Each row with its number, its cells with bars between them.
inline std::string ShownRows(SheetRows& rows) {
  std::string shown;
  for (SheetRow row; rows.Next(row);) {
    shown += (shown.empty() ? "" : " ") + std::to_string(row.number);
    for (std::size_t i = 0; i < row.cells.size(); ++i)
      shown += (i == 0 ? " " : "|") + ShownCell(row.cells[i]);
  }
  for (const std::string& remark : rows.Remarks()) shown += " / " + remark;
  return shown;
}

}  // namespace mox
