#include "appserver/migrations.h"

#include <algorithm>
#include <string>

#include "appserver/connection.h"
#include "appserver/sql_text.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr int kNoVersion = 0;  // of a new database

// The 1 of "schema/001_codebooks.sql".
int NumberOf(const SchemaFile& file) {
  const std::string_view name = file.name.substr(file.name.find('/') + 1);
  return static_cast<int>(ParseInteger(name.substr(0, name.find('_'))));
}

// Schema files come before reference data, either in the order of their names.
std::vector<SchemaFile> FilesAbove(int version) {
  std::vector<SchemaFile> files = SchemaFiles();
  std::erase_if(files, [version](const SchemaFile& file) { return NumberOf(file) <= version; });
  const auto order = [](const SchemaFile& file) {
    return std::pair(!file.name.starts_with("schema/"), file.name);
  };
  std::sort(files.begin(), files.end(),
            [&](const SchemaFile& a, const SchemaFile& b) { return order(a) < order(b); });
  return files;
}

void RunFile(DatabaseConnection& connection, const SchemaFile& file) {
  const Dialect& dialect = connection.dialect();
  const auto fold = [&](std::string_view expression) { return dialect.Fold(expression); };
  try {
    for (const std::string_view statement : SplitStatements(file.text)) {
      connection.Execute(ReplaceFold(ReplaceKeyType(statement, dialect.KeyType()), fold));
    }
  } catch (const DatabaseError& error) {
    throw DatabaseError(std::string(error.what()) + " (in " + std::string(file.name) + ")");
  }
}

void RunFilesAbove(DatabaseConnection& connection, int version) {
  for (const SchemaFile& file : FilesAbove(version)) RunFile(connection, file);
  connection.Run([&] { connection.dialect().SetSchemaVersion(connection.session(), NewestSchemaVersion()); });
}

}  // namespace

int NewestSchemaVersion() {
  int newest = kNoVersion;
  for (const SchemaFile& file : SchemaFiles()) newest = std::max(newest, NumberOf(file));
  return newest;
}

int RequireKnownVersion(DatabaseConnection& connection) {
  const std::optional<int> version =
      connection.Run([&] { return connection.dialect().SchemaVersion(connection.session()); });
  if (!version) connection.Refuse("is not a company database");
  if (*version <= kNoVersion) connection.Refuse("the file is damaged: it has no schema version");
  if (*version > NewestSchemaVersion()) {
    connection.Refuse("was written by a newer program (version " + std::to_string(*version) +
                      ", this program knows up to " + std::to_string(NewestSchemaVersion()) + ")");
  }
  return *version;
}

void FillNewDatabase(DatabaseConnection& connection) {
  connection.InTransaction([&] { RunFilesAbove(connection, kNoVersion); });
}

void MigrateSchema(DatabaseConnection& connection) {
  if (RequireKnownVersion(connection) == NewestSchemaVersion()) return;
  connection.InTransaction([&] {
    const int version = RequireKnownVersion(connection);
    if (version < NewestSchemaVersion()) RunFilesAbove(connection, version);
  });
}

}  // namespace mox
