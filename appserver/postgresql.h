#pragma once

#include <soci/postgresql/soci-postgresql.h>

#include <memory>
#include <string>
#include <string_view>

#include "appserver/database_location.h"
#include "appserver/soci_headers.h"

namespace mox {

struct ValueSlot;  // in statement_impl.h

// What the PostgreSQL dialect does with the engine's own library.

struct ClearResult {
  void operator()(PGresult* result) const { PQclear(result); }
};
using PostgresqlResult = std::unique_ptr<PGresult, ClearResult>;

/// An error with what the engine says of it beside its message.
class PostgresqlError : public soci::postgresql_soci_error {
 public:
  explicit PostgresqlError(const PGresult* result);

  std::string table;
  std::string column;
  std::string constraint;
  std::string
      detail;  ///< "Key (vrsta, godina, broj)=(predracun, 2024, 1) already exists.", in the server's language
};

PGconn* PostgresqlHandle(soci::session& session);

/// Passes a result on. Raises PostgresqlError for one that is an error.
PostgresqlResult RequireDone(PGresult* result);
/// Runs one or more statements without parameters. Raises PostgresqlError.
PostgresqlResult RunPostgresql(PGconn* connection, const std::string& sql);

/// A value as the engine reads it; the numbers are written in such a way that they come back as they are.
std::string PostgresqlText(const ValueSlot& slot);

/// A name in double quotes.
std::string QuotedName(std::string_view name);

/// The five characters of the standard's code; empty where there is none, as when the connection is lost.
std::string SqlState(const soci::soci_error& error);
/// Whether the engine failed, where otherwise it refused what it was given.
bool IsPostgresqlFailure(const soci::soci_error& error);
/// What went wrong there, for people, on one line, in the words that other engines have for it too.
std::string ExplainPostgresql(const soci::soci_error& error, const DatabaseLocation& location);

}  // namespace mox
