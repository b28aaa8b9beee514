#include "cli/database_care.h"

#include <filesystem>
#include <ostream>
#include <vector>

#include "appserver/company_data.h"
#include "appserver/database.h"
#include "appserver/database_check.h"
#include "appserver/migrations.h"
#include "cli/text_table.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

void RequireFileAndDatabase(const std::string& copy, const Session& session) {
  if (copy.empty()) throw UsageError("FILE is required");
  if (session.database.empty()) throw UsageError("--db is required");
}

struct Company {
  std::string name;
  std::string oib;

  std::string ToString() const {
    return (name.empty() ? "a company without a name" : '"' + name + '"') +
           (oib.empty() ? "" : ", OIB " + oib);
  }
};

Company CompanyOf(const std::string& path) {
  Database database(path, Database::Access::kReadOnly);
  const CompanyData data(database);
  return {data.Parameter("NazivPoduzeca").value_or(""), data.Parameter("OIBPoduzeca").value_or("")};
}

// A company may have changed its name, but never its number.
bool IsSame(const Company& a, const Company& b) {
  return a.oib.empty() || b.oib.empty() ? a.name == b.name : a.oib == b.oib;
}

// A database that is missing or too damaged to tell whose it is may be replaced.
void RequireSameCompany(const std::string& copy, const std::string& path) {
  const Company of_copy = CompanyOf(copy);
  Company replaced;
  try {
    replaced = CompanyOf(path);
  } catch (const DatabaseError&) {
    return;
  }
  if (IsSame(of_copy, replaced)) return;
  throw Error("nothing was changed: " + copy + " is of " + of_copy.ToString() + ", and " + path + " of " +
              replaced.ToString() + " (--yes restores it all the same)");
}

}  // namespace

void CheckDatabase(const std::string& path, bool table, Session& session) {
  if (path.empty()) throw UsageError("FILE is required");
  Database database(path, Database::Access::kReadOnly);
  if (const int version = database.SchemaVersion(); version < NewestVersion()) {
    throw Error(path + ": was written by an older program (version " + std::to_string(version) +
                "); whatever reads it, such as mox query Dokumenti, brings it to version " +
                std::to_string(NewestVersion()) + ", and then it can be checked");
  }
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

void RestoreDatabase(const std::string& copy, bool any_company, Session& session) {
  RequireFileAndDatabase(copy, session);
  if (std::error_code error; std::filesystem::equivalent(copy, session.database, error)) {
    throw Error(copy + ": is the database itself");
  }
  if (!any_company) RequireSameCompany(copy, session.database);
  const std::string kept = Database(copy, Database::Access::kReadOnly).Restore(session.database);
  if (!kept.empty()) {
    session.err << "mox: " << VisibleText(kept) << " is the database that was replaced" << std::endl;
  }
}

}  // namespace mox
