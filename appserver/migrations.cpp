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

constexpr std::string_view kDemoFolder = "demo/";

// Schema files come before reference data, either in the order of their names.
std::vector<SchemaFile> FilesAbove(int version, std::vector<SchemaFile> files) {
  std::erase_if(files, [version](const SchemaFile& file) { return NumberOf(file) <= version; });
  const auto order = [](const SchemaFile& file) {
    return std::pair(!file.name.starts_with("schema/"), file.name);
  };
  std::sort(files.begin(), files.end(),
            [&](const SchemaFile& a, const SchemaFile& b) { return order(a) < order(b); });
  return files;
}

constexpr std::string_view kSearchIndex = "CREATE SEARCH INDEX ";

// "CREATE SEARCH INDEX par_trazi ON par"
std::vector<std::string> MakeSearchIndex(const Dialect& dialect, std::string_view statement) {
  constexpr std::string_view kOn = " ON ";
  statement.remove_prefix(kSearchIndex.size());
  const std::size_t on = statement.find(kOn);
  return dialect.MakeSearchIndex(std::string(statement.substr(0, on)),
                                 std::string(statement.substr(on + kOn.size())));
}

void RunFile(DatabaseConnection& connection, const SchemaFile& file) {
  const Dialect& dialect = connection.dialect();
  const ColumnTypes types = dialect.Types();
  const auto fold = [&](std::string_view expression) { return dialect.Fold(expression); };
  const auto days_after = [&](std::string_view arguments) {
    const std::size_t comma = arguments.find(',');  // behind a column
    return dialect.DaysAfter(arguments.substr(0, comma), arguments.substr(comma + 1));
  };
  try {
    for (const std::string_view statement : SplitStatements(file.text)) {
      if (statement.starts_with(kSearchIndex)) {
        for (const std::string& sql : MakeSearchIndex(dialect, statement)) connection.Execute(sql);
        continue;
      }
      const std::string typed = ReplaceTypes(statement, types.key, types.behind_text);
      connection.Execute(ReplaceCalls(ReplaceFold(typed, fold), "days_after", days_after));
    }
  } catch (const DatabaseError& error) {
    throw DatabaseError(std::string(error.what()) + " (in " + std::string(file.name) + ")");
  }
}

int NewestOf(const std::vector<SchemaFile>& files) {
  int newest = kNoVersion;
  for (const SchemaFile& file : files) newest = std::max(newest, NumberOf(file));
  return newest;
}

void RunFilesAbove(DatabaseConnection& connection, int version, const std::vector<SchemaFile>& files) {
  for (const SchemaFile& file : FilesAbove(version, files)) RunFile(connection, file);
  connection.ForgetTables();
  connection.Run([&] { connection.dialect().SetSchemaVersion(connection.session(), NewestOf(files)); });
}

}  // namespace

int RequireKnownVersion(DatabaseConnection& connection, const std::vector<SchemaFile>& files) {
  const std::optional<int> version =
      connection.Run([&] { return connection.dialect().SchemaVersion(connection.session()); });
  if (!version) connection.Refuse("is not a company database");
  if (*version <= kNoVersion) connection.Refuse("the file is damaged: it has no schema version");
  if (*version > NewestOf(files)) {
    connection.Refuse("was written by a newer program (version " + std::to_string(*version) +
                      ", this program knows up to " + std::to_string(NewestOf(files)) + ")");
  }
  return *version;
}

const std::vector<SchemaFile>& SchemaFiles() {
  static const std::vector<SchemaFile> files = [] {
    std::vector<SchemaFile> all = EmbeddedFiles();
    std::erase_if(all, [](const SchemaFile& file) { return file.name.starts_with(kDemoFolder); });
    return all;
  }();
  return files;
}

int NewestVersion() { return NewestOf(SchemaFiles()); }

const SchemaFamily& CompanySchema() {
  static const SchemaFamily family = {"company database", "drzave", SchemaFiles()};
  return family;
}

void FillNewDatabase(DatabaseConnection& connection, const SchemaFamily& family) {
  connection.InTransaction([&] { RunFilesAbove(connection, kNoVersion, family.files); });
}

void RequireFamily(DatabaseConnection& connection, const SchemaFamily& family) {
  const std::optional<int> version =
      connection.Run([&] { return connection.dialect().SchemaVersion(connection.session()); });
  bool is_one = version.has_value();
  if (version.value_or(kNoVersion) > kNoVersion) {
    is_one = connection.FindTable(family.mark) != nullptr;
  }
  if (!is_one) connection.Refuse("is not a " + std::string(family.called));
}

void FillNewDatabase(DatabaseConnection& connection, WithDemo demo) {
  connection.InTransaction([&] {
    RunFilesAbove(connection, kNoVersion, SchemaFiles());
    for (const SchemaFile& file : EmbeddedFiles()) {
      if (demo == WithDemo::kYes && file.name.starts_with(kDemoFolder)) RunFile(connection, file);
    }
  });
}

void MigrateSchema(DatabaseConnection& connection, const std::vector<SchemaFile>& files) {
  if (RequireKnownVersion(connection, files) == NewestOf(files)) return;
  connection.InTransaction([&] {
    const int version = RequireKnownVersion(connection, files);
    if (version < NewestOf(files)) RunFilesAbove(connection, version, files);
  });
}

}  // namespace mox
