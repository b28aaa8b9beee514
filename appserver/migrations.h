#pragma once

#include <string_view>
#include <vector>

#include "appserver/database.h"

namespace mox {

class DatabaseConnection;

/// A file of the schema, "schema/001_codebooks.sql", of the reference data, or of the made-up company.
struct SchemaFile {
  std::string_view name;
  std::string_view text;
};

/// All of this program, by name.
const std::vector<SchemaFile>& EmbeddedFiles();

/// Schema and reference data. Their highest number is the newest version of the schema.
const std::vector<SchemaFile>& SchemaFiles();

/// Gives a new database its tables and its reference data, and the made-up company where it is asked for.
void FillNewDatabase(DatabaseConnection& connection, WithDemo demo);

/// The version of a company database that these files know. Raises DatabaseError for any other database.
int RequireKnownVersion(DatabaseConnection& connection, const std::vector<SchemaFile>& files = SchemaFiles());

/// Brings an older schema to the newest version in one transaction, in which the version is looked at again:
/// of several programs that open the file at once only one does it. Raises DatabaseError.
void MigrateSchema(DatabaseConnection& connection, const std::vector<SchemaFile>& files = SchemaFiles());

}  // namespace mox
