#include "cli/database_care.h"

#include <filesystem>
#include <ostream>
#include <vector>

#include "appserver/database.h"
#include "appserver/database_check.h"
#include "cli/text_table.h"

namespace mox {
namespace {

void RequireFileAndDatabase(const std::string& copy, const Session& session) {
  if (copy.empty()) throw UsageError("FILE is required");
  if (session.database.empty()) throw UsageError("--db is required");
}

}  // namespace

void CheckDatabase(const std::string& path, bool table, Session& session) {
  if (path.empty()) throw UsageError("FILE is required");
  Database database(path, Database::Access::kReadOnly);
  const std::vector<DatabaseFinding> found = FindFaults(database);
  RecordSet findings("findings");
  for (const char* const name : {"check", "where", "finding"}) findings.DefineField(name, FieldKind::kText);
  findings.Open();
  for (const auto& [check, where, finding] : found) findings.AppendRecord({check, where, finding});
  if (!found.empty() || !table) AppendTableOrFile(findings, table, session.out);
  session.valid = found.empty();
  session.err << "mox: " << found.size() << (found.size() == 1 ? " finding" : " findings") << std::endl;
}

void BackUpDatabase(const std::string& copy, Session& session) {
  RequireFileAndDatabase(copy, session);
  Database(session.database, Database::Access::kReadOnly).BackUp(copy);
}

void RestoreDatabase(const std::string& copy, Session& session) {
  RequireFileAndDatabase(copy, session);
  if (std::error_code error; std::filesystem::equivalent(copy, session.database, error)) {
    throw Error(copy + ": is the database itself");
  }
  Database(copy, Database::Access::kReadOnly).Restore(session.database);
}

}  // namespace mox
