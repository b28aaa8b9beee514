#pragma once

#include <string>
#include <vector>

#include "cli/command.h"
#include "cli/record_set_file.h"
#include "mox/import/import_field.h"
#include "sheets/sheet_layout.h"

namespace mox {

/// What the user says about a sheet that is imported.
struct SheetArguments {
  std::string sheet;
  std::string encoding;
  std::string map;
  std::string save_map;
  bool heading = false;
  bool no_heading = false;
};

void DeclareSheetArguments(Options& options, SheetArguments& arguments);

/// Reads a file of rows and lays them out for the fields. What people should know goes to standard error.
/// Raises UsageError, and Error as the readers of sheets do; also where the map is saved for headings that
/// are unknown.
SheetText ReadImportSheet(const FileText& file, const SheetArguments& arguments,
                          const std::vector<ImportFieldDef>& fields, Session& session);

}  // namespace mox
