#pragma once

#include <sqlite3.h>

#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "appserver/company_server.h"
#include "mox/foundation/record_set.h"

namespace mox::bench {

/// A company database in a temporary folder, the server over it, and a plain connection to the same file.
class CompanyFile {
 public:
  CompanyFile();
  ~CompanyFile();
  CompanyFile(const CompanyFile&) = delete;
  CompanyFile& operator=(const CompanyFile&) = delete;

  CompanyServer& server() { return *server_; }
  sqlite3* plain() { return plain_.get(); }
  /// By the plain connection. Raises std::runtime_error.
  void Execute(const std::string& sql);
  /// The first column of the first row.
  std::int64_t Number(const std::string& sql) { return std::stoll(Text(sql)); }
  std::string Text(const std::string& sql);

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  };
  std::filesystem::path folder_;
  std::unique_ptr<CompanyServer> server_;
  std::unique_ptr<sqlite3, Close> plain_;
};

/// One prepared statement of a plain connection.
class PlainStatement {
 public:
  PlainStatement(sqlite3* database, const std::string& sql);
  ~PlainStatement() { sqlite3_finalize(statement_); }
  PlainStatement(const PlainStatement&) = delete;
  PlainStatement& operator=(const PlainStatement&) = delete;

  void Bind(int parameter, const std::string& text) {
    sqlite3_bind_text(statement_, parameter, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  }
  void Bind(int parameter, double number) { sqlite3_bind_double(statement_, parameter, number); }
  void Bind(int parameter, std::int64_t number) { sqlite3_bind_int64(statement_, parameter, number); }
  /// Steps to the end and makes the statement ready again; answers the number of rows.
  std::int64_t Run();

 private:
  sqlite3_stmt* statement_ = nullptr;
};

}  // namespace mox::bench
