#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "cli/record_set_file.h"

namespace mox {

/// A column that takes the cells of a sheet.
struct SheetColumn {
  std::string name;
  std::size_t width = 0;  ///< in characters; what is longer will be cut
};

enum class SheetForm {
  kTabs,  ///< as copied from a spreadsheet: a tab between cells, quotes are text
  kCsv,   ///< RFC 4180, with commas or semicolons
};

/// The rows of a sheet in the form in which a spreadsheet puts them on the clipboard: a line a row, a tab
/// between cells, in UTF-8.
struct SheetText {
  std::string text;
  std::size_t rows = 0;
  /// For people, one a line: the encoding where it is not UTF-8, cells that will be cut, and line breaks and
  /// tabs inside quoted cells, each of which became a blank. Rows count from 1 behind the heading.
  std::vector<std::string> remarks;
};

/// The form that the name of a file stands for.
SheetForm SheetFormOf(const std::string& path);

/// Reads a file of rows, whose first one is skipped where it is a `heading`. Empty cells behind the last
/// column are dropped. A comma-separated text has semicolons where that gives its first row as many cells as
/// there are columns, or where commas do not and there are semicolons in it.
///
/// Raises Error naming file and row when the text cannot be read or a row has a filled cell behind the last
/// column.
SheetText ReadSheet(const FileText& file, SheetForm form, bool heading, std::span<const SheetColumn> columns);

}  // namespace mox
