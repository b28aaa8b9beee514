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

/// A schema: what people call a database of it, a table that its first file makes and no other schema has,
/// and its files.
struct SchemaFamily {
  std::string_view called;  ///< "company database"
  std::string_view mark;
  std::vector<SchemaFile> files;
};
const SchemaFamily& CompanySchema();

/// The newest version of a company database.
int NewestVersion();

/// Gives a new database the tables of its schema.
void FillNewDatabase(DatabaseConnection& connection, const SchemaFamily& family);
/// Raises DatabaseError for a database of another schema, and for one of another program.
void RequireFamily(DatabaseConnection& connection, const SchemaFamily& family);

/// Gives a new company database its tables and its reference data, and the made-up company where it is asked
/// for.
void FillNewDatabase(DatabaseConnection& connection, WithDemo demo);

/// The version of a company database that these files know. Raises DatabaseError for any other database.
int RequireKnownVersion(DatabaseConnection& connection, const std::vector<SchemaFile>& files = SchemaFiles());

/// Brings an older schema to the newest version in one transaction, in which the version is looked at again:
/// of several programs that open the file at once only one does it. Raises DatabaseError.
void MigrateSchema(DatabaseConnection& connection, const std::vector<SchemaFile>& files = SchemaFiles());

}  // namespace mox
