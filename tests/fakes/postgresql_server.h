#pragma once

#include <libpq-fe.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

#include "appserver/database_location.h"
#include "tests/source_dir.h"

namespace mox {

/// A PostgreSQL server of the tests' own: the one that ctest has started, else one that runs as long as the
/// program.
class PostgresqlServer {
 public:
  /// A company that has not been there yet.
  static DatabaseLocation NewCompany() {
    static int number = 0;
    return "postgresql://postgres@/postgres?host=" + Folder() + "&company=t" + std::to_string(::getpid()) +
           "_" + std::to_string(++number);
  }

  static void Drop(const DatabaseLocation& company) {
    Run(company, "DROP SCHEMA IF EXISTS \"" + company.schema() + "\" CASCADE");
  }

  /// Rows get the next key behind the highest, whatever was refused or taken away before, as other engines
  /// give them: for tests that compare keys, and in which nobody else stores.
  static void GiveNextKeys(const DatabaseLocation& company) {
    Run(company,
        "DO $$ DECLARE t record; BEGIN "
        "IF current_schema() IS NULL THEN RETURN; END IF; "  // it was never made
        "CREATE OR REPLACE FUNCTION next_key() RETURNS trigger LANGUAGE plpgsql AS $f$ DECLARE given bigint; "
        "BEGIN "
        "EXECUTE 'SELECT last_value FROM ' || pg_get_serial_sequence(quote_ident(TG_TABLE_NAME), 'id') INTO "
        "given; "
        "IF NEW.id = given THEN "
        "EXECUTE 'SELECT COALESCE(MAX(id), 0) + 1 FROM ' || quote_ident(TG_TABLE_NAME) INTO NEW.id; END IF; "
        "RETURN NEW; END $f$; "
        "FOR t IN SELECT quote_ident(table_name) AS name FROM information_schema.columns "
        "WHERE table_schema = current_schema() AND column_name = 'id' AND is_identity = 'YES' LOOP "
        "EXECUTE 'CREATE OR REPLACE TRIGGER next_key BEFORE INSERT ON ' || t.name || "
        "' FOR EACH ROW EXECUTE FUNCTION next_key()'; "
        "END LOOP; END $$");
  }

  /// Runs statements in the company's schema.
  static void Run(const DatabaseLocation& company, const std::string& sql) {
    RunAlone(company,
             "SET client_min_messages = warning; SET search_path TO \"" + company.schema() + "\"; " + sql);
  }
  /// Runs one that goes into no transaction, and no schema.
  static void RunAlone(const DatabaseLocation& company, const std::string& sql) {
    PGconn* const connection = PQconnectdb(company.connection().c_str());
    PGresult* const result = PQexec(connection, sql.c_str());
    const ExecStatusType status = PQresultStatus(result);
    const std::string error = PQerrorMessage(connection);
    PQclear(result);
    PQfinish(connection);
    if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) throw std::runtime_error(sql + ": " + error);
  }

 private:
  static std::string Folder() {
    static const std::string folder = [] {
      const char* const started = std::getenv("MOX_TEST_POSTGRESQL");
      const std::string name = started != nullptr ? started : FileOfOwn();
      if (started == nullptr) {
        if (Script("start", name) != 0) throw std::runtime_error("no PostgreSQL server can be started");
        std::atexit([] { Script("stop", FileOfOwn()); });
      }
      std::ifstream file(name);
      std::string line;
      std::getline(file, line);
      if (line.empty()) throw std::runtime_error(name + " names no PostgreSQL server");
      return line;
    }();
    return folder;
  }

  // Of the process that has started it; what was forked of it stops nothing.
  static std::string FileOfOwn() {
    static const std::string name = "/tmp/mox_postgresql." + std::to_string(::getpid());
    return name;
  }
  static int Script(const std::string& action, const std::string& file) {
    static const pid_t owner = ::getpid();
    if (::getpid() != owner) return 0;
    const std::string script = SourceDir() + "/tests/fakes/postgresql_server.sh";
    return std::system(("bash '" + script + "' " + action + " '" + file + "'").c_str());
  }
};

}  // namespace mox
