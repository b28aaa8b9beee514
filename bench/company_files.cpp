#include "bench/company_files.h"

#include <cstdlib>
#include <stdexcept>

namespace mox::bench {
namespace {

void Require(sqlite3* database, int result, int expected) {
  if (result != expected) throw std::runtime_error(sqlite3_errmsg(database));
}

}  // namespace

CompanyFile::CompanyFile() {
  std::string pattern = (std::filesystem::temp_directory_path() / "mox-bench-XXXXXX").string();
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error(pattern + " cannot be created");
  folder_ = pattern;
  const std::string path = (folder_ / "company.db").string();
  Database::Create(path, WithDemo::kYes);
  server_ = std::make_unique<CompanyServer>(Database(path));
  sqlite3* opened = nullptr;
  const int result = sqlite3_open(path.c_str(), &opened);
  plain_.reset(opened);
  Require(opened, result, SQLITE_OK);
  Execute("PRAGMA synchronous = FULL; PRAGMA foreign_keys = ON");
}

CompanyFile::~CompanyFile() {
  plain_.reset();
  server_.reset();
  std::error_code ignored;
  std::filesystem::remove_all(folder_, ignored);
}

void CompanyFile::Execute(const std::string& sql) {
  Require(plain(), sqlite3_exec(plain(), sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK);
}

std::string CompanyFile::Text(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  Require(plain(), sqlite3_prepare_v2(plain(), sql.c_str(), -1, &statement, nullptr), SQLITE_OK);
  const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> owner(statement, sqlite3_finalize);
  Require(plain(), sqlite3_step(statement), SQLITE_ROW);
  return reinterpret_cast<const char*>(sqlite3_column_text(statement, 0));
}

PlainStatement::PlainStatement(sqlite3* database, const std::string& sql) {
  Require(database, sqlite3_prepare_v2(database, sql.c_str(), -1, &statement_, nullptr), SQLITE_OK);
}

std::int64_t PlainStatement::Run() {
  std::int64_t rows = 0;
  int result = SQLITE_ROW;
  while ((result = sqlite3_step(statement_)) == SQLITE_ROW) ++rows;
  Require(sqlite3_db_handle(statement_), result, SQLITE_DONE);
  sqlite3_reset(statement_);
  return rows;
}

}  // namespace mox::bench
