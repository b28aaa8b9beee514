#pragma once

#include <string>
#include <vector>

#include "mox/foundation/output_file.h"
#include "mox/import/import_grid.h"
#include "sheets/sheet_layout.h"

namespace mox {

/// The workbooks that are written here, .xlsx, as long as nobody has saved them with a spreadsheet program: a
/// template without rows, and faulty rows.
extern const OutputKind kTemplateWorkbook;
extern const OutputKind kFaultWorkbook;

/// Whether a file of that name is written as a workbook.
bool IsWorkbookName(const std::string& path);

/// The sheet of a profile, to be filled in: a heading of captions in which required columns are marked, and
/// drop-down lists of what may be entered. Values of the database are offered where there is a server. The
/// rows of a layout stand below the heading.
std::string TemplateWorkbook(const std::string& key, const std::vector<ImportFieldDef>& fields,
                             bool has_server, const SheetText& rows);

/// The faulty rows of a checked grid with its data columns, whole, to be mended and imported: the sheet of
/// the profile with their numbers and reasons behind. `rows` are those that were pasted.
std::string FaultWorkbook(const TfrmImportGrid& form, const std::vector<ImportFieldDef>& fields,
                          const SheetText& rows);

}  // namespace mox
