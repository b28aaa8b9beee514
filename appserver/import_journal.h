#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "appserver/named_transaction.h"

namespace mox {

/// The record set beside the rows of an import that says where they come from: "profil", "korisnik",
/// "datoteka", "sazetak" (of the file's bytes) and "ponovno". It may be missing.
inline constexpr std::string_view kImportOrigin = "adsUvoz";
/// The rows.
inline constexpr std::string_view kImportedRows = "adsForDBSave";

/// Stores an import and journals it: what the check promised of values that must be new is verified again,
/// and a file that was imported before is refused unless it is to be stored once more.
std::optional<RecordSet> StoreImport(const NamedTransaction& transaction, Database& database,
                                     const SentRecordSets& sent);

/// The last import of a file's content by that profile that was not taken back: its number, and for people
/// "import 3 of 2024-03-01 10:00:00 by ana". None where there is none.
struct StoredImport {
  std::int64_t id;
  std::string description;
};
std::optional<StoredImport> FindStoredImport(Database& database, std::string_view profile,
                                             std::string_view digest);

}  // namespace mox
