#pragma once

#include <soci/postgresql/soci-postgresql.h>

#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "appserver/database_location.h"
#include "appserver/dialect.h"
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

/// Until the transaction ends nobody else writes in the company of the connection, or only others that share.
inline constexpr char kCompanyLock[] =
    "pg_advisory_xact_lock(1836017764, hashtext(CAST(current_schema() AS text)))";
inline constexpr char kSharedCompanyLock[] =
    "pg_advisory_xact_lock_shared(1836017764, hashtext(CAST(current_schema() AS text)))";

/// What a company's schema says of its move from one server to another, as its comment.
inline constexpr char kMoveMark[] = "mox move ";     ///< and the move's id, and one of these
inline constexpr char kMarkArrives[] = ": arrives";  ///< being copied here; nobody may open it
inline constexpr char kMarkArrived[] = ": arrived";  ///< this is the company
inline constexpr char kMarkLeft[] = ": left";        ///< it was here, and is at the address behind kMarkFor
inline constexpr char kMarkLeftCompared[] = ": left, compared";  ///< the same, and it was the same there
inline constexpr char kMarkFor[] = " for ";

/// A name in double quotes.
std::string QuotedName(std::string_view name);

/// The five characters of the standard's code; empty where there is none, as when the connection is lost.
std::string SqlState(const soci::soci_error& error);
/// Whether the server takes no more connections.
bool IsPostgresqlFull(const soci::soci_error& error);
/// Whether the tables are not there: the company was moved, or taken away.
bool IsPostgresqlGone(const soci::soci_error& error);
/// Whether the engine failed, where otherwise it refused what it was given.
bool IsPostgresqlFailure(const soci::soci_error& error);
/// What went wrong there, for people, on one line, in the words that other engines have for it too.
std::string ExplainPostgresql(const soci::soci_error& error, const DatabaseLocation& location);

/// Where something could not be sent.
soci::postgresql_soci_error LostConnection(PGconn* connection);
/// Waits for the answers to all that was sent in pipeline mode, and ends it.
std::optional<RefusedAhead> ReadPostgresqlAnswers(PGconn* connection);

}  // namespace mox
