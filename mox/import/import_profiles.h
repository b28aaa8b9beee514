#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "mox/import/import_column.h"

namespace mox {

/// A kind of data that the import grid takes in: what its sheet looks like and which transaction stores it.
struct ImportProfile {
  std::string_view key;
  std::string_view method;       ///< of the grid, which prepares it
  std::string_view transaction;  ///< of the application server, which stores the rows
  std::string_view imports;      ///< what the rows are, for lists of the profiles
  std::size_t field_count;       ///< positions of the field list, with the working columns
  std::span<const ImportColumn> columns;
  std::span<const ColumnChange> changes = {};
  bool has_article_tools = false;
  bool overwrites_mail = false;  ///< the user is warned that stored mail addresses will be replaced
};

/// All profiles.
std::span<const ImportProfile> ImportProfiles();

/// Null where there is none; keys are compared exactly.
const ImportProfile* FindImportProfile(std::string_view key);

/// Whether changes that depend on the server's settings are looked at.
enum class ServerSettings : std::uint8_t { kDisregarded, kAsked };

/// The working columns and those of the profile, `field_count` positions.
std::vector<ImportFieldDef> ImportFieldsOf(const ImportProfile& profile,
                                           ServerSettings settings = ServerSettings::kDisregarded);

}  // namespace mox
