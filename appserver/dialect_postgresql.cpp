#include <algorithm>
#include <cstdlib>

#include "appserver/connection.h"
#include "appserver/descriptors.h"
#include "appserver/dialect.h"
#include "appserver/fold.h"
#include "appserver/postgresql.h"
#include "appserver/row_copy.h"
#include "appserver/search_index.h"
#include "appserver/sql_text.h"
#include "appserver/statement_impl.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// The names of a connection are those of the company's schema.
void SetUp(PGconn* connection, const DatabaseLocation& location, Database::Access access) {
  RunPostgresql(
      connection,
      "SET client_encoding = 'UTF8'; SET client_min_messages = warning; SET DateStyle = 'ISO, YMD'; "
      "SET standard_conforming_strings = on; SET extra_float_digits = 3; SET lock_timeout = " +
          std::to_string(Database::kLongestWait) + "; SET search_path TO " + QuotedName(location.schema()) +
          (access == Database::Access::kReadOnly ? "; SET default_transaction_read_only = on" : ""));
}

void Connect(soci::session& session, const DatabaseLocation& location,
             Database::Access access = Database::Access::kReadWrite) {
  session.open(soci::postgresql, location.connection());
  PQsetNoticeProcessor(
      PostgresqlHandle(session), [](void*, const char*) {}, nullptr);
  SetUp(PostgresqlHandle(session), location, access);
}

bool HasSchema(soci::session& session, const std::string& schema) {
  int count = 0;
  session << "SELECT count(*) FROM pg_namespace WHERE nspname = :name", soci::use(schema), soci::into(count);
  return count > 0;
}

// Raises CompanyGone where the company is not, not any more, or not yet.
void RequireHere(soci::session& session, const DatabaseLocation& location) {
  const std::string schema = location.schema();
  std::string mark;
  session
      << "SELECT COALESCE(obj_description(oid, 'pg_namespace'), '') FROM pg_namespace WHERE nspname = :name",
      soci::use(schema), soci::into(mark);
  const bool is_here = session.got_data();
  if (is_here && !(mark.starts_with(kMoveMark) && mark.ends_with(kMarkArrives))) return;
  if (is_here) throw CompanyGone(location.ToString() + ": the company is being moved here, and not open yet");
  const std::string moved = "moved\\_%\\_" + schema;
  session << "SELECT obj_description(oid, 'pg_namespace') FROM pg_namespace WHERE nspname LIKE :name "
             "AND obj_description(oid, 'pg_namespace') IS NOT NULL ORDER BY oid DESC LIMIT 1",
      soci::use(moved), soci::into(mark);
  const std::size_t left =
      session.got_data() && mark.starts_with(kMoveMark) ? mark.find(kMarkFor) : std::string::npos;
  if (left == std::string::npos) throw NoSuchCompany(location.ToString() + ": there is no such company");
  throw CompanyGone(location.ToString() + ": the company was moved to " +
                    mark.substr(left + std::string_view(kMarkFor).size()));
}

// The texts of a statement's parameters, in the order of its `$1`, `$2`, of which one name may have several.
class SentParameters {
 public:
  SentParameters(std::span<const ValueSlot> parameters, const std::vector<std::string>& places) {
    texts_.reserve(parameters.size());
    for (const ValueSlot& slot : parameters) {
      const bool is_null = slot.indicator == soci::i_null;
      texts_.push_back(is_null || HoldsText(slot) ? std::string() : PostgresqlText(slot));
      given_.push_back(is_null ? nullptr : HoldsText(slot) ? slot.text.c_str() : texts_.back().c_str());
    }
    if (places.size() == given_.size()) return;
    std::vector<std::string_view> names;
    std::vector<const char*> repeated;
    for (const std::string& place : places) {
      const auto known = std::find(names.begin(), names.end(), place);
      repeated.push_back(given_[static_cast<std::size_t>(known - names.begin())]);
      if (known == names.end()) names.emplace_back(place);
    }
    given_ = std::move(repeated);
  }

  int Count() const { return static_cast<int>(given_.size()); }
  const char* const* Values() const { return given_.data(); }

 private:
  static bool HoldsText(const ValueSlot& slot) {
    return slot.kind == FieldKind::kText || slot.kind == FieldKind::kDate ||
           slot.kind == FieldKind::kDateTime;
  }

  std::vector<std::string> texts_;
  std::vector<const char*> given_;
};

std::int64_t NumberOf(const char* text) { return *text == '\0' ? 0 : std::strtoll(text, nullptr, 10); }

class Postgresql : public Dialect {
 public:
  void Open(soci::session& session, const DatabaseLocation& location,
            Database::Access access) const override {
    Connect(session, location, access);
    RequireHere(session, location);
  }

  bool Reconnect(soci::session& session, const DatabaseLocation& location,
                 Database::Access access) const override {
    PGconn* const connection = session.get_backend() == nullptr ? nullptr : PostgresqlHandle(session);
    if (connection == nullptr || PQstatus(connection) == CONNECTION_OK) return false;
    PQreset(connection);
    if (PQstatus(connection) != CONNECTION_OK) return false;
    SetUp(connection, location, access);
    return true;
  }

  // Everything in one transaction, so that the schema appears whole or not at all.
  void Create(const DatabaseLocation& location,
              const std::function<void(DatabaseConnection&)>& fill) const override {
    DatabaseConnection connection(location, [&](soci::session& session) {
      Connect(session, location);
      if (HasSchema(session, location.schema()))
        throw DatabaseError(location.ToString() + ": there is such a company already");
      std::string encoding;
      session << "SHOW server_encoding", soci::into(encoding);
      if (encoding != "UTF8")
        throw DatabaseError(location.ToString() + ": the database has the encoding " + encoding +
                            ", not UTF8");
    });
    connection.InTransaction([&] { MakeSchema(connection, fill); });
  }

  void OpenInMemory(soci::session& /*session*/) const override {
    throw DatabaseError("PostgreSQL has no databases without a place");
  }

  std::optional<int> SchemaVersion(soci::session& session) const override {
    int has_table = 0;
    session << "SELECT CASE WHEN to_regclass('mox_verzija') IS NULL THEN 0 ELSE 1 END", soci::into(has_table);
    if (has_table == 0) return std::nullopt;
    int version = 0;
    soci::indicator indicator = soci::i_null;
    session << "SELECT max(verzija) FROM mox_verzija", soci::into(version, indicator);
    return indicator == soci::i_ok ? std::optional(version) : std::optional(0);
  }

  void SetSchemaVersion(soci::session& session, int version) const override {
    session << "INSERT INTO mox_verzija (id, verzija) VALUES (1, " << version
            << ") ON CONFLICT (id) DO UPDATE SET verzija = EXCLUDED.verzija";
  }

  std::string Fold(std::string_view expression) const override {
    std::string capitals;
    std::string smalls;
    for (const auto& [capital, small] : kFoldedLetters) {
      capitals += capital;
      smalls += small;
    }
    return "(translate(lower(btrim(" + std::string(expression) + ", E' \\t\\n\\r') COLLATE \"C\"), '" +
           capitals + "', '" + smalls + "'))";
  }

  // The engine rounds doubles to even numbers, and turns them into decimals by their first 15 digits.
  std::string Nearest(std::string_view number) const override {
    const std::string exact = "CAST(" + std::string(number) + " AS DOUBLE PRECISION)";
    return "CAST(TRUNC(" + exact + " + 0.5 * SIGN(" + exact + ")) AS BIGINT)";
  }

  std::string DaysAfter(std::string_view date, std::string_view days) const override {
    return "(" + std::string(date) + " + CAST(TRUNC(" + std::string(days) + ") AS INTEGER))";
  }

  ColumnTypes Types() const override {
    return {.key = "BIGINT GENERATED BY DEFAULT AS IDENTITY PRIMARY KEY", .behind_text = " COLLATE \"C\""};
  }

  std::string_view BeginRead() const override { return "BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"; }
  // The lock is the company's own; what is refused is undone up to behind it.
  std::string_view BeginWrite(Writing writing) const override {
    static const auto begin = [](const char* lock) {
      return std::string("BEGIN ISOLATION LEVEL READ COMMITTED; SELECT ") + lock + "; SAVEPOINT mox";
    };
    static const std::string alone = begin(kCompanyLock);
    static const std::string beside_others = begin(kSharedCompanyLock);
    return writing == Writing::kAlone ? alone : beside_others;
  }
  // By the name of a table: it is looked up anew behind the lock, whatever was waited for there.
  std::string_view StillThere() const override { return "; SELECT verzija FROM mox_verzija"; }
  bool IsFileGone(soci::session& /*session*/) const override { return false; }
  bool LetsOthersWrite() const override { return true; }
  void Claim(soci::session& session, const std::vector<std::string>& names) const override {
    std::string lines;
    for (const std::string& name : names) lines += (lines.empty() ? "" : "\n") + name;
    const char* const values[] = {lines.c_str()};
    RequireDone(
        PQexecParams(PostgresqlHandle(session),
                     "SELECT pg_advisory_xact_lock(hashtextextended(current_schema() || '/' || name, 0)) "
                     "FROM unnest(string_to_array($1, chr(10))) AS name",
                     1, nullptr, values, nullptr, nullptr, 0));
  }
  void KeepSoFar(soci::session& session) const override {
    RunPostgresql(PostgresqlHandle(session), "RELEASE SAVEPOINT mox; SAVEPOINT mox");
  }
  std::unique_ptr<RowCopy> CopyInto(DatabaseConnection& connection, std::string_view table,
                                    const std::vector<std::string>& columns) const override {
    return MakePostgresqlCopy(connection, table, columns);
  }
  std::unique_ptr<RowCopy> ChangeTogether(DatabaseConnection& connection, std::string_view table,
                                          const std::vector<std::string>& columns,
                                          const std::string& by) const override {
    return MakePostgresqlChange(connection, table, columns, by);
  }
  bool Recover(soci::session& session) const override {
    if (session.get_backend() == nullptr) return false;  // it was never open
    PGconn* const connection = PostgresqlHandle(session);
    if (PQtransactionStatus(connection) != PQTRANS_INERROR) return false;
    const PostgresqlResult undone(PQexec(connection, "ROLLBACK TO SAVEPOINT mox"));
    return PQresultStatus(undone.get()) == PGRES_COMMAND_OK;
  }
  bool HasFailed(soci::session& session) const override {
    return PQtransactionStatus(PostgresqlHandle(session)) == PQTRANS_INERROR;
  }
  bool IsLost(soci::session& session) const override {
    return session.get_backend() == nullptr || PQstatus(PostgresqlHandle(session)) != CONNECTION_OK;
  }
  std::size_t MostParameters() const override { return 65'535; }

  // All texts of a table are read, unless the database has the extension pg_trgm: then there is an index of
  // its making, which the engine keeps by itself.
  std::vector<std::string> MakeSearchIndex(const std::string& /*name*/,
                                           const std::string& /*table*/) const override {
    return {};
  }
  std::vector<std::string> RefreshSearchIndex(const SearchIndex& /*index*/, int /*most*/) const override {
    return {};
  }
  std::string CountUnindexed(const SearchIndex& /*index*/, int /*most*/) const override { return "SELECT 0"; }
  // One program at a time makes it. What another one has left half made is of no use. The extension may be in
  // any schema.
  void MakeMissingSearchIndex(soci::session& session, const SearchIndex& index) const override {
    PGconn* const connection = PostgresqlHandle(session);
    const auto holds = [&](const std::string& condition) {
      const PostgresqlResult answer = RunPostgresql(connection, "SELECT " + condition);
      return *PQgetvalue(answer.get(), 0, 0) == 't';
    };
    const std::string known =
        "EXISTS (SELECT 1 FROM pg_index WHERE indexrelid = to_regclass('" + index.name + "') AND indisvalid";
    const std::string key = "(hashtextextended(current_schema() || '/" + index.name + "', 0))";
    if (!holds("EXISTS (SELECT 1 FROM pg_extension WHERE extname = 'pg_trgm') AND NOT " + known + ")") ||
        !holds("pg_try_advisory_lock" + key))
      return;
    const PostgresqlResult path = RunPostgresql(connection, "SHOW search_path");
    const AtEnd restored{connection, "SELECT pg_advisory_unlock" + key + "; SET search_path TO " +
                                         PQgetvalue(path.get(), 0, 0)};
    if (holds(known + " IS FALSE)")) RunPostgresql(connection, "DROP INDEX CONCURRENTLY " + index.name);
    RunPostgresql(connection,
                  "SELECT set_config('search_path', current_setting('search_path') || ', ' || "
                  "quote_ident(n.nspname), false) FROM pg_extension e JOIN pg_namespace n "
                  "ON n.oid = e.extnamespace WHERE e.extname = 'pg_trgm'");
    RunPostgresql(connection, "CREATE INDEX CONCURRENTLY IF NOT EXISTS " + index.name + " ON " + index.table +
                                  " USING gin ((" + Fold(Texts(index)) + ") gin_trgm_ops)");
  }
  SearchQuery FindInSearchIndex(const SearchIndex& index, const std::string& folded,
                                const std::string& parameter) const override {
    std::string pattern = "%";
    for (const char c : folded) {
      if (c == '%' || c == '_' || c == '!') pattern += '!';
      pattern += c;
    }
    return {"SELECT t.id FROM " + index.table + " t WHERE " + "fold(" + Texts(index) +
                ") LIKE :" + parameter + " ESCAPE '!'",
            {pattern + '%'}};
  }

  std::string_view ListColumns() const override {
    return "SELECT CAST(c.relname AS text), CAST(a.attname AS text), "
           "replace(format_type(a.atttypid, a.atttypmod), 'character varying', 'varchar'), "
           "CASE WHEN a.attnotnull AND a.attidentity = '' THEN 1 ELSE 0 END "
           "FROM pg_class c JOIN pg_attribute a ON a.attrelid = c.oid "
           "WHERE c.relnamespace = to_regnamespace(quote_ident(current_schema())) AND c.relkind = 'r' "
           "AND c.relname <> 'mox_verzija' AND a.attnum > 0 AND NOT a.attisdropped "
           "ORDER BY CAST(c.relname AS text) COLLATE \"C\", a.attnum";
  }
  std::string_view ListReferences() const override {
    return "SELECT CAST(t.relname AS text), CAST(a.attname AS text), CAST(p.relname AS text), "
           "CAST(k.attname AS text) FROM pg_constraint c JOIN pg_class t ON t.oid = c.conrelid "
           "JOIN pg_class p ON p.oid = c.confrelid "
           "JOIN pg_attribute a ON a.attrelid = c.conrelid AND a.attnum = c.conkey[1] "
           "JOIN pg_attribute k ON k.attrelid = c.confrelid AND k.attnum = c.confkey[1] "
           "WHERE c.contype = 'f' AND c.connamespace = to_regnamespace(quote_ident(current_schema())) "
           "ORDER BY c.oid";
  }

  // Copies between engines are made row by row, whatever the engines.
  void BackUp(DatabaseConnection& database, const std::string& /*to*/,
              const std::function<void()>& /*reached*/) const override {
    database.Refuse("is no file");
  }
  std::string Restore(DatabaseConnection& /*copy*/, const DatabaseLocation& location) const override {
    throw DatabaseError(location.ToString() + ": is no file");
  }
  void GoOnBehindKeys(soci::session& session) const override {
    for (const TableDescription& table : ReadTables(session, *this)) {
      const std::string name = QuotedName(table.name);
      RunPostgresql(PostgresqlHandle(session), "SELECT setval(pg_get_serial_sequence('" + name +
                                                   "', 'id'), MAX(id)) FROM " + name + " HAVING MAX(id) > 0");
    }
  }

  // Its users find the new one with their next connection; a transaction that is under way is waited for.
  std::string Replace(const DatabaseLocation& location,
                      const std::function<void(DatabaseConnection&)>& fill) const override {
    DatabaseConnection connection(location, [&](soci::session& session) { Connect(session, location); });
    const std::string schema = location.schema();
    std::string kept;
    connection.InTransaction([&] {
      for (int i = 1; kept.empty() && HasSchema(connection.session(), schema); ++i) {
        const std::string name = "replaced_" + std::to_string(i) + '_' + schema;
        if (!HasSchema(connection.session(), name)) kept = name;
      }
      if (!kept.empty())
        connection.Execute("ALTER SCHEMA " + QuotedName(schema) + " RENAME TO " + QuotedName(kept));
      MakeSchema(connection, fill);
    });
    return kept;
  }

  // The engine checks references and conditions when it stores, and pages when it reads them.
  std::vector<std::string> FindDamages(soci::session& /*session*/, int /*most*/) const override { return {}; }

  Executed Execute(soci::statement& statement, std::span<const ValueSlot> parameters) const override {
    const soci::postgresql_statement_backend& backend = Backend(statement);
    const SentParameters sent(parameters, backend.names_);
    const PostgresqlResult result =
        RequireDone(PQexecPrepared(backend.session_.conn_, backend.statementName_.c_str(), sent.Count(),
                                   sent.Values(), nullptr, nullptr, 0));
    Executed executed{.changed = NumberOf(PQcmdTuples(result.get()))};
    if (PQntuples(result.get()) > 0 && PQgetisnull(result.get(), 0, 0) == 0)
      executed.answer = NumberOf(PQgetvalue(result.get(), 0, 0));
    return executed;
  }

  bool SendsAhead() const override { return true; }
  void SendAhead(soci::statement& statement, std::span<const ValueSlot> parameters) const override {
    const soci::postgresql_statement_backend& backend = Backend(statement);
    PGconn* const connection = backend.session_.conn_;
    const SentParameters sent(parameters, backend.names_);
    PQenterPipelineMode(connection);
    const int is_sent = PQsendQueryPrepared(connection, backend.statementName_.c_str(), sent.Count(),
                                            sent.Values(), nullptr, nullptr, 0);
    if (is_sent == 0) throw LostConnection(connection);
  }
  void SendAhead(soci::session& session, const char* sql) const override {
    PGconn* const connection = PostgresqlHandle(session);
    PQenterPipelineMode(connection);
    if (PQsendQueryParams(connection, sql, 0, nullptr, nullptr, nullptr, nullptr, 0) == 0) {
      throw LostConnection(connection);
    }
  }
  std::optional<RefusedAhead> ReadAnswers(soci::session& session) const override {
    return ReadPostgresqlAnswers(PostgresqlHandle(session));
  }

  // Asking beforehand would be one more way to the server and back.
  std::optional<std::size_t> ColumnCount(soci::statement& statement, bool is_executed) const override {
    if (!is_executed) return std::nullopt;
    const PGresult* const result = Backend(statement).result_;
    return static_cast<std::size_t>(PQnfields(result));
  }
  void Reset(soci::statement& statement) const override { Backend(statement).result_.reset(); }

  bool StoresBinaries() const override { return false; }
  bool IsFailure(const soci::soci_error& error) const override { return IsPostgresqlFailure(error); }
  bool LacksRoom(const soci::soci_error& error, soci::session& /*session*/) const override {
    return IsPostgresqlFull(error) || LacksDescriptors();
  }
  bool IsGone(const soci::soci_error& error) const override { return IsPostgresqlGone(error); }
  std::string Explain(const soci::soci_error& error, soci::session& /*session*/,
                      const DatabaseLocation& location) const override {
    return ExplainPostgresql(error, location);
  }
  void SetLongestWait(soci::session& session, const int& milliseconds) const override {
    session << "SET lock_timeout = " << milliseconds;
  }

 private:
  // What is done whatever comes before, and where the connection is lost needs not be done.
  struct AtEnd {
    AtEnd(PGconn* of, std::string what) : connection(of), sql(std::move(what)) {}
    ~AtEnd() { const PostgresqlResult done(PQexec(connection, sql.c_str())); }
    AtEnd(const AtEnd&) = delete;
    AtEnd& operator=(const AtEnd&) = delete;

    PGconn* connection;
    std::string sql;
  };

  // All texts of a row as one.
  static std::string Texts(const SearchIndex& index) {
    std::string texts;
    for (const std::string& column : index.columns) {
      texts += (texts.empty() ? "COALESCE(" : " || chr(31) || COALESCE(") + column + ", '')";
    }
    return texts;
  }
  static void MakeSchema(DatabaseConnection& connection,
                         const std::function<void(DatabaseConnection&)>& fill) {
    connection.Execute("CREATE SCHEMA " + QuotedName(connection.location().schema()));
    connection.Execute("CREATE TABLE mox_verzija (id INTEGER PRIMARY KEY, verzija INTEGER NOT NULL)");
    fill(connection);
  }
  static soci::postgresql_statement_backend& Backend(soci::statement& statement) {
    return static_cast<soci::postgresql_statement_backend&>(*statement.get_backend());
  }
};

}  // namespace

const Dialect& PostgresqlDialect() {
  static const Postgresql dialect;
  return dialect;
}

}  // namespace mox
