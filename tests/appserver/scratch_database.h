#pragma once

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>

#include "appserver/connection.h"
#include "appserver/database.h"
#include "appserver/dialect.h"
#include "tests/fakes/postgresql_server.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/scratch_folder.h"

namespace mox {

/// The number that a query answers.
inline std::int64_t Number(Database& database, const std::string& sql,
                           std::initializer_list<Value> values = {}) {
  return database.Query("n", ParseColumns("n:integer"), sql, values).AsInteger(0);
}

/// A connection without the look at the schema's version.
inline DatabaseConnection OpenPlainly(const std::string& path) {
  return DatabaseConnection(path, [location = DatabaseLocation(path)](soci::session& session) {
    DialectOf(location.kind()).Open(session, location, Database::Access::kReadWrite);
  });
}

/// A folder of its own with a new company database in it, for what is about files.
class ScratchFile : public testing::Test {
 protected:
  ScratchFile() { Database::Create(path_, WithDemo::kYes); }

  ScratchFolder folder_;
  std::string path_ = folder_ / "tvrtka \"č\" = 1%.db";
};

/// The same for what each engine must do: the new database is in the folder, or a company on a server.
class ScratchDatabase : public testing::TestWithParam<DatabaseLocation::Kind> {
 protected:
  ScratchDatabase() {
    if (IsPostgresql()) path_ = PostgresqlServer::NewCompany().ToString();
    Database::Create(path_, WithDemo::kYes);
  }
  ~ScratchDatabase() override {
    if (IsPostgresql()) PostgresqlServer::Drop(path_);
  }

  static bool IsPostgresql() { return GetParam() == DatabaseLocation::Kind::kPostgresql; }
  /// Whether rows are found by an index, were there many of them.
  static bool UsesIndex(Database& database, const std::string& sql,
                        std::initializer_list<Value> values = {}) {
    const char* const columns = IsPostgresql() ? "detail" : "id:integer,parent:integer,unused:integer,detail";
    if (IsPostgresql()) database.Execute("SET enable_seqscan = off");
    RecordSet plan = database.Query("plan", ParseColumns(columns),
                                    (IsPostgresql() ? "EXPLAIN " : "EXPLAIN QUERY PLAN ") + sql, values);
    for (const RecordRow& row : plan.Rows()) {
      const std::string detail = row.AsText(*row.FindFieldIndex("detail"));
      if (detail.find(IsPostgresql() ? "Index Cond" : "USING INDEX") != std::string::npos) return true;
      if (detail.find("USING COVERING INDEX") != std::string::npos &&
          detail.find("SEARCH") != std::string::npos)
        return true;
    }
    return false;
  }
  /// A row that is refused or taken away leaves its key to the next one.
  void GiveNextKeys() const {
    if (IsPostgresql()) PostgresqlServer::GiveNextKeys(path_);
  }

  ScratchFolder folder_;
  std::string path_ = folder_ / "tvrtka \"č\" = 1%.db";  ///< where the database is, a file or an address
};

inline auto EveryEngine() {
  return testing::Values(DatabaseLocation::Kind::kFile, DatabaseLocation::Kind::kPostgresql);
}
inline std::string EngineName(const testing::TestParamInfo<DatabaseLocation::Kind>& engine) {
  return engine.param == DatabaseLocation::Kind::kFile ? "sqlite" : "postgresql";
}

}  // namespace mox

/// Runs the suite's tests on each engine.
#define MOX_ON_EVERY_ENGINE(suite) \
  INSTANTIATE_TEST_SUITE_P(Engine, suite, mox::EveryEngine(), mox::EngineName)
