#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "sheets/sheet_rows.h"

namespace mox {

/// A column that takes the cells of a sheet.
struct SheetColumn {
  std::string name;
  std::string caption;
  std::size_t width = 0;  ///< in characters; what is longer will be cut
  bool required = false;
};

/// Which column the cells below a foreign heading belong to.
struct MappedHeading {
  std::string heading;
  std::string column;  ///< its name; empty where the cells are left out
};

using ColumnMap = std::vector<MappedHeading>;

/// A heading or a name as it is compared with others: without regard to letter case, blanks, signs and the
/// marks of Croatian letters.
std::string ComparableHeading(std::string_view text);

/// Reads a map that was written by WriteColumnMap, and perhaps changed: a comma-separated text with the
/// columns `heading` and `column`, which has names or captions. Raises Error naming file and line for a
/// column that there is not and a heading that stands there twice.
ColumnMap ReadColumnMap(const SheetFile& file, std::span<const SheetColumn> columns);
std::string WriteColumnMap(const ColumnMap& map);

}  // namespace mox
