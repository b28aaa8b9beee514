#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "mox/import/import_grid.h"
#include "sheets/sheet_layout.h"

namespace mox {

// Sheets for the import grid.

/// Characters that the grid keeps of a cell.
inline constexpr std::size_t kGridCellWidth = 100;

/// The definitions of the grid's data columns, in their order.
std::vector<ImportFieldDef> DataFields(const TfrmImportGrid& form);

/// What the columns take of a sheet. Raises ConversionError for a definition that cannot be read.
std::vector<SheetColumn> SheetColumnsOf(std::span<const ImportFieldDef> fields,
                                        std::size_t most_characters = kGridCellWidth);

/// What is wrong with the sheet's cells, for SetSheetFaults.
std::vector<ImportFault> GridFaultsOf(const SheetText& sheet);

}  // namespace mox
