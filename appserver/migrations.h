#pragma once

#include <string_view>
#include <vector>

namespace mox {

class DatabaseConnection;

/// A file of the schema, "schema/001_codebooks.sql", or of the reference data.
struct SchemaFile {
  std::string_view name;
  std::string_view text;
};

/// All of them; part of the program.
const std::vector<SchemaFile>& SchemaFiles();

/// The schema that this program knows: the highest number of a file.
int NewestSchemaVersion();

/// Gives a new database its tables and its reference data.
void FillNewDatabase(DatabaseConnection& connection);

/// The version of a company database that this program knows. Raises DatabaseError for any other.
int RequireKnownVersion(DatabaseConnection& connection);

/// Brings an older schema to the newest version in one transaction, in which the version is looked at again:
/// of several programs that open the file at once only one does it. Raises DatabaseError.
void MigrateSchema(DatabaseConnection& connection);

}  // namespace mox
