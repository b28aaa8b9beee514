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

/// All of this program. Their highest number is the newest version of the schema.
const std::vector<SchemaFile>& SchemaFiles();

/// Gives a new database its tables and its reference data.
void FillNewDatabase(DatabaseConnection& connection);

/// The version of a company database that these files know. Raises DatabaseError for any other database.
int RequireKnownVersion(DatabaseConnection& connection, const std::vector<SchemaFile>& files = SchemaFiles());

/// Brings an older schema to the newest version in one transaction, in which the version is looked at again:
/// of several programs that open the file at once only one does it. Raises DatabaseError.
void MigrateSchema(DatabaseConnection& connection, const std::vector<SchemaFile>& files = SchemaFiles());

}  // namespace mox
