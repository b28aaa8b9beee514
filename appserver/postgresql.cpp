#include "appserver/postgresql.h"

#include <algorithm>
#include <utility>

#include "appserver/migrations.h"
#include "appserver/sql_text.h"
#include "appserver/statement_impl.h"
#include "mox/foundation/secrets.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

std::string FieldOf(const PGresult* result, int field) {
  const char* const text = PQresultErrorField(result, field);
  return text == nullptr ? std::string() : std::string(text);
}

// The first line of "ERROR:  relation "x" does not exist\nLINE 1: ...", without the first word.
std::string EngineMessage(const soci::soci_error& error) {
  std::string message = error.get_error_message();
  if (const std::size_t mark = message.find(":  "); mark != std::string::npos) message.erase(0, mark + 3);
  message.erase(std::min(message.find('\n'), message.size()));
  return message;
}

// "connection to server at "x", port 5432 failed: ..." of what SOCI says about it.
std::string ConnectionMessage(const soci::soci_error& error, const DatabaseLocation& location) {
  std::string message = error.get_error_message();
  if (const std::size_t line = message.find('\n'); line != std::string::npos && message.starts_with("Cannot"))
    message.erase(0, line + 1);
  message.erase(std::min(message.find('\n'), message.size()));
  Secrets secrets;
  secrets.AddThoseOf(location.connection());
  return secrets.Blanked(TrimBlanks(message));
}

// The columns that stand in the first parenthesis: "Key (vrsta, godina)=(...)", as "dok.vrsta, dok.godina".
std::string ColumnsOf(const PostgresqlError& error) {
  const std::size_t begin = error.detail.find('(');
  const std::size_t end = error.detail.find(")=(", std::min(begin, error.detail.size()));
  if (end == std::string::npos) return error.constraint;
  std::string columns;
  std::string_view rest = std::string_view(error.detail).substr(begin + 1, end - begin - 1);
  while (!rest.empty()) {
    const std::string_view column = rest.substr(0, rest.find(", "));
    rest.remove_prefix(std::min(column.size() + 2, rest.size()));
    columns += (columns.empty() ? "" : ", ") + error.table + '.' + std::string(column);
  }
  return columns;
}

constexpr std::string_view kCheckWord = "CHECK (";

// Up to the parenthesis that closes one that is open.
std::string ToClosing(std::string_view text) {
  int depth = 1;
  std::size_t end = 0;
  while (end < text.size() && depth > 0) {
    depth += text[end] == '(' ? 1 : text[end] == ')' ? -1 : 0;
    ++end;
  }
  return std::string(text.substr(0, end - (depth == 0 ? 1 : 0)));
}

// The conditions of a table as its schema file has them: "tecaj > 0".
std::vector<std::string> ChecksOf(std::string_view table) {
  std::vector<std::string> checks;
  for (const SchemaFile& file : SchemaFiles()) {
    for (const std::string_view statement : SplitStatements(file.text)) {
      if (!statement.starts_with("CREATE TABLE " + std::string(table) + " (")) continue;
      for (std::size_t at = statement.find(kCheckWord); at != std::string_view::npos;
           at = statement.find(kCheckWord, at)) {
        at += kCheckWord.size();
        checks.push_back(ToClosing(statement.substr(at)));
      }
    }
  }
  return checks;
}

// The engine names a condition by the table and, where it is about one alone, by the column.
std::string ConditionOf(const PostgresqlError& error) {
  constexpr std::string_view kEnding = "_check";
  std::string column = error.constraint;
  if (column.starts_with(error.table + '_') && column.ends_with(kEnding)) {
    column.erase(0, std::min(error.table.size() + 1, column.size() - kEnding.size() + 1));
    column.erase(column.size() - std::min(kEnding.size(), column.size()));
  }
  const std::vector<std::string> checks = ChecksOf(error.table);
  const auto found = std::find_if(checks.begin(), checks.end(), [&](const std::string& check) {
    return check.find(column) != std::string::npos;
  });
  if (found != checks.end()) return *found;
  return checks.size() == 1 ? checks.front() : error.constraint;
}

constexpr std::string_view kNotNull = "23502";
constexpr std::string_view kForeignKey = "23503";
constexpr std::string_view kUnique = "23505";
constexpr std::string_view kCheck = "23514";

std::string ExplainConstraint(const PostgresqlError& error) {
  const std::string state = error.sqlstate();
  if (state == kNotNull) return error.table + '.' + error.column + " must not be empty";
  if (state == kUnique) return "there is a row already with the same " + ColumnsOf(error);
  if (state == kCheck) return "a value is not allowed: " + ConditionOf(error);
  return {};
}

constexpr std::string_view kNoTable = "42P01";
constexpr std::string_view kNoSchema = "3F000";

struct Reason {
  std::string_view state;  // or a class of states, its first two characters
  std::string_view text;   // for people; empty for the engine's own words
  bool is_failure;
};

// What is not a fault of the data.
constexpr Reason kReasons[] = {
    {kForeignKey, "a row that is referred to does not exist", false},
    {"22021", "a text is not UTF-8", false},
    {"25006", "cannot be written: it was opened for reading", true},
    {"25P02", "", true},
    {kNoTable, "there is no such company any more", true},
    {kNoSchema, "there is no such company any more", true},
    {"42P06", "there is such a company already", false},
    {"55P03", "another program keeps the database locked; try again when it has finished", true},
    {"40", "another program was changing the same; try again", true},
    {"53100", "the disk is full", true},
    {"08", "the connection to the server is lost", true},
    {"57", "the server was stopped, or has ended this connection", true},
    {"28", "", true},
    {"53", "", true},
    {"58", "", true},
    {"F0", "", true},
    {"XX", "", true},
};

const Reason* ReasonOf(const std::string& state) {
  const auto found = std::find_if(std::begin(kReasons), std::end(kReasons),
                                  [&](const Reason& reason) { return state.starts_with(reason.state); });
  return found == std::end(kReasons) ? nullptr : found;
}

}  // namespace

PostgresqlError::PostgresqlError(const PGresult* result)
    : soci::postgresql_soci_error(PQresultErrorMessage(result),
                                  FieldOf(result, PG_DIAG_SQLSTATE).append("     ").substr(0, 5).c_str()),
      table(FieldOf(result, PG_DIAG_TABLE_NAME)),
      column(FieldOf(result, PG_DIAG_COLUMN_NAME)),
      constraint(FieldOf(result, PG_DIAG_CONSTRAINT_NAME)),
      detail(FieldOf(result, PG_DIAG_MESSAGE_DETAIL)) {}

PGconn* PostgresqlHandle(soci::session& session) {
  return static_cast<soci::postgresql_session_backend*>(session.get_backend())->conn_;
}

PostgresqlResult RequireDone(PGresult* result) {
  PostgresqlResult owned(result);
  switch (PQresultStatus(result)) {
    case PGRES_COMMAND_OK:
    case PGRES_TUPLES_OK:
    case PGRES_COPY_IN:
    case PGRES_EMPTY_QUERY:
      return owned;
    default:
      throw PostgresqlError(result);
  }
}

PostgresqlResult RunPostgresql(PGconn* connection, const std::string& sql) {
  return RequireDone(PQexec(connection, sql.c_str()));
}

std::string PostgresqlText(const ValueSlot& slot) {
  switch (slot.kind) {
    case FieldKind::kInteger:
    case FieldKind::kBoolean:
      return std::to_string(slot.integer);
    case FieldKind::kFloat:
    case FieldKind::kCurrency:
      return ShortestNumber(slot.number);
    default:
      return slot.text;
  }
}

std::string QuotedName(std::string_view name) {
  std::string quoted = "\"";
  for (const char c : name) quoted.append(c == '"' ? 2 : 1, c);
  return quoted + '"';
}

std::string SqlState(const soci::soci_error& error) {
  const auto* const known = dynamic_cast<const soci::postgresql_soci_error*>(&error);
  return known == nullptr ? std::string() : std::string(TrimBlanks(known->sqlstate()));
}

bool IsPostgresqlFailure(const soci::soci_error& error) {
  const bool is_of_engine = dynamic_cast<const soci::postgresql_soci_error*>(&error) != nullptr;
  const std::string state = SqlState(error);
  if (state.empty()) return is_of_engine || error.get_error_message().starts_with("Cannot establish");
  const Reason* const reason = ReasonOf(state);
  return reason != nullptr && reason->is_failure;
}

// Of a connection that is refused there is the server's message alone.
bool IsPostgresqlFull(const soci::soci_error& error) {
  constexpr std::string_view kTooMany[] = {
      "too many clients already", "remaining connection slots are reserved", "too many connections for "};
  const std::string message = error.get_error_message();
  return SqlState(error) == "53300" ||
         std::any_of(std::begin(kTooMany), std::end(kTooMany),
                     [&](std::string_view text) { return message.find(text) != std::string::npos; });
}

bool IsPostgresqlGone(const soci::soci_error& error) {
  const std::string state = SqlState(error);
  return state == kNoTable || state == kNoSchema;
}

std::string ExplainPostgresql(const soci::soci_error& error, const DatabaseLocation& location) {
  const std::string state = SqlState(error);
  if (state.empty() && IsPostgresqlFailure(error)) {
    return "the server cannot be reached: " + ConnectionMessage(error, location);
  }
  if (const auto* const known = dynamic_cast<const PostgresqlError*>(&error)) {
    if (std::string text = ExplainConstraint(*known); !text.empty()) return text;
  }
  const Reason* const reason = ReasonOf(state);
  return reason != nullptr && !reason->text.empty() ? std::string(reason->text) : EngineMessage(error);
}

soci::postgresql_soci_error LostConnection(PGconn* connection) {
  return {PQerrorMessage(connection), "     "};
}

std::optional<RefusedAhead> ReadPostgresqlAnswers(PGconn* connection) {
  std::optional<RefusedAhead> refused;
  PQpipelineSync(connection);
  std::size_t at = 0;
  for (int nothing = 0; nothing < 2;) {
    const PostgresqlResult result(PQgetResult(connection));
    if (result == nullptr) {
      ++nothing;  // behind each answer; twice where the connection is lost
      continue;
    }
    nothing = 0;
    const ExecStatusType status = PQresultStatus(result.get());
    if (status == PGRES_PIPELINE_SYNC) break;
    if (status == PGRES_FATAL_ERROR && !refused) {
      refused = RefusedAhead{at, std::make_exception_ptr(PostgresqlError(result.get()))};
    }
    ++at;
  }
  PQexitPipelineMode(connection);
  if (!refused && PQstatus(connection) != CONNECTION_OK) {
    refused = RefusedAhead{at, std::make_exception_ptr(LostConnection(connection))};
  }
  return refused;
}

}  // namespace mox
