#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/app.h"
#include "sheets/column_map.h"
#include "sheets/heading.h"
#include "sheets/sheet_rows.h"

namespace mox {

/// A cell that the sheet itself cannot vouch for, that is too long for its column, or that cannot be laid out
/// on one line.
struct SheetFault {
  std::size_t row = 0;     ///< among the rows of the layout, from 0
  std::size_t column = 0;  ///< among the columns, from 0
  std::string value;       ///< as it was laid out
  std::string reason;
};

/// The rows of a sheet in the form in which a spreadsheet puts them on the clipboard: a line a row, a tab
/// between cells, in UTF-8.
struct SheetText {
  std::string text;
  /// Of each row: where it stands in its sheet, from 1 behind the heading.
  std::vector<std::size_t> numbers;
  /// One of a cell at most, by rows, then by columns. A line break or a tab inside a cell is a fault of it; a
  /// blank is laid out in its place.
  std::vector<SheetFault> faults;
  /// For people, one a line: how the file was read where that was not certain, headings that are unknown,
  /// columns that are missing.
  std::vector<std::string> remarks;
  /// The headings as they were taken; none where the sheet has no heading.
  ColumnMap map;
  bool has_unknown_heading = false;
};

struct LayoutOptions {
  HeadingMode heading = HeadingMode::kRecognised;
  ColumnMap map = {};
  LocaleSettings locale = {};  ///< in which numbers and dates of a spreadsheet are written
};

/// Lays the rows of a sheet out for the columns. With a heading each cell goes to the column of its heading,
/// in whatever order, and those of unknown headings are left out; without one, or where none of its cells is
/// known, they are taken in the order of the columns.
///
/// Raises Error naming file and row when a row cannot be read, has a filled cell behind the last column or
/// without a heading, when the heading has a column twice, when the sheet has more than a gigabyte of text;
/// UnclearHeading.
SheetText LayOutSheet(SheetRows& rows, std::span<const SheetColumn> columns, const LayoutOptions& options);

}  // namespace mox
