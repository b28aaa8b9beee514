#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "mox/import/import_grid.h"

namespace mox {

/// A kind of data that the import grid takes in.
struct ImportProfile {
  std::string_view key;
  std::string_view method;  ///< name of the method that prepares the grid
  void (TfrmImportGrid::*prepare)();
  std::string_view transaction;  ///< of the application server, which stores the rows
  std::string_view imports;      ///< what the rows are, for lists of the profiles
  bool has_article_tools = false;
  bool overwrites_mail = false;  ///< the user is warned that stored mail addresses will be replaced
};

/// All profiles.
std::span<const ImportProfile> ImportProfiles();

/// Null where there is none; keys are compared exactly.
const ImportProfile* FindImportProfile(std::string_view key);

/// What the profile defines where no server answers; for whoever describes or serves its columns.
std::vector<ImportFieldDef> ImportFieldsOf(const ImportProfile& profile);

}  // namespace mox
