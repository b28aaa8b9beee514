#include <algorithm>
#include <filesystem>

#include "appserver/connection.h"
#include "appserver/dialect.h"
#include "appserver/fold.h"
#include "appserver/search_index.h"
#include "appserver/sqlite_files.h"
#include "appserver/statement_impl.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

// A file mode that another tool has changed is set right when nobody else has the file open.
void SetWriteAheadLog(soci::session& session) {
  if (AnswerOf<std::string>(session, "PRAGMA journal_mode") == "wal") return;
  try {
    AnswerOf<std::string>(session, "PRAGMA journal_mode = WAL");
  } catch (const soci::soci_error&) {
    return;
  }
}

// The engine's own words, without the place in the library in which they were said.
std::string EngineMessage(const soci::soci_error& error) {
  std::string message = error.get_error_message();
  for (const std::string_view prefix :
       {"Cannot establish connection to the database. ", "sqlite3_statement_backend::prepare: ",
        "sqlite3_statement_backend::loadOne: ", "sqlite3_statement_backend::loadRS: "}) {
    if (message.starts_with(prefix)) message.erase(0, prefix.size());
  }
  return message;
}

// What the engine says of a broken rule of a table, "UNIQUE constraint failed: fin_kto.konto", for people.
std::string ExplainConstraint(const std::string& message) {
  const std::size_t colon = message.find(": ");
  const std::string what = colon == std::string::npos ? std::string() : message.substr(colon + 2);
  if (message.starts_with("UNIQUE")) return "there is a row already with the same " + what;
  if (message.starts_with("NOT NULL")) return what + " must not be empty";
  if (message.starts_with("CHECK")) return "a value is not allowed: " + what;
  if (message.starts_with("FOREIGN KEY")) return "a row that is referred to does not exist";
  return message;
}

// The statement refers to a text or to bytes, which stay where they are while it runs.
int BindValue(sqlite_api::sqlite3_stmt* statement, int parameter, const ValueSlot& slot) {
  if (slot.indicator == soci::i_null) return sqlite_api::sqlite3_bind_null(statement, parameter);
  switch (slot.kind) {
    case FieldKind::kInteger:
    case FieldKind::kBoolean:
      return sqlite_api::sqlite3_bind_int64(statement, parameter, slot.integer);
    case FieldKind::kFloat:
    case FieldKind::kCurrency:
      return sqlite_api::sqlite3_bind_double(statement, parameter, slot.number);
    case FieldKind::kBinary: {
      auto& blob = static_cast<soci::sqlite3_blob_backend&>(*slot.bytes->get_backend());
      if (blob.get_len() == 0) return sqlite_api::sqlite3_bind_zeroblob(statement, parameter, 0);
      return sqlite_api::sqlite3_bind_blob64(statement, parameter, blob.get_buffer(), blob.get_len(),
                                             nullptr);
    }
    default:
      return sqlite_api::sqlite3_bind_text64(statement, parameter, slot.text.data(), slot.text.size(),
                                             nullptr, SQLITE_UTF8);
  }
}

class Sqlite : public Dialect {
 public:
  void Open(soci::session& session, const DatabaseLocation& location,
            Database::Access access) const override {
    const std::string& path = location.path();
    const fs::file_status status = fs::status(path);
    if (!fs::exists(status)) throw DatabaseError(path + ": there is no such file");
    if (!fs::is_regular_file(status)) throw DatabaseError(path + ": is not a file");
    if (access == Database::Access::kReadOnly) return ConnectSqliteForReading(session, path);
    ConnectSqlite(session, path, "rw");
    if (IsCompanyDatabase(session)) SetWriteAheadLog(session);
  }

  bool Reconnect(soci::session& /*session*/, const DatabaseLocation& /*location*/,
                 Database::Access /*access*/) const override {
    return false;
  }

  void Create(const DatabaseLocation& location,
              const std::function<void(DatabaseConnection&)>& fill) const override {
    const std::string& path = location.path();
    RequireFreeName(path);
    const TemporarySqliteFile temporary(path);
    {
      // The log comes last: until then each failure to write is told, and none left to the closing.
      DatabaseConnection connection(location,
                                    [&](soci::session& s) { ConnectSqlite(s, temporary.path(), "rw"); });
      connection.Execute("PRAGMA application_id = " + std::to_string(kApplicationId));
      fill(connection);
      connection.Run([&] { AnswerOf<std::string>(connection.session(), "PRAGMA journal_mode = WAL"); });
    }
    if (fs::exists(temporary.path().string() + "-wal")) throw DatabaseError(path + ": cannot be written");
    temporary.GiveName(path);
  }

  void BackUp(DatabaseConnection& database, const std::string& to,
              const std::function<void()>& reached) const override {
    RequireFreeName(to);
    const TemporarySqliteFile temporary(to);
    database.Run([&] { CopySqlite(database.session(), temporary, reached); });
    temporary.GiveName(to);
  }

  std::string Restore(DatabaseConnection& copy, const DatabaseLocation& location) const override {
    const std::string& path = location.path();
    TemporarySqliteFile temporary(BehindLinks(path));
    copy.Run([&] { CopySqlite(copy.session(), temporary); });
    return ReplaceSqlite(temporary, path);
  }

  std::string Replace(const DatabaseLocation& location,
                      const std::function<void(DatabaseConnection&)>& /*fill*/) const override {
    throw DatabaseError(location.ToString() + ": a file is replaced by a file");
  }
  void GoOnBehindKeys(soci::session& /*session*/) const override {}

  void OpenInMemory(soci::session& session) const override { session.open(soci::sqlite3, "db=:memory:"); }

  std::optional<int> SchemaVersion(soci::session& session) const override {
    if (!IsCompanyDatabase(session)) return std::nullopt;
    AnswerOf<int>(session, "SELECT count(*) FROM sqlite_master");  // has all definitions read
    return AnswerOf<int>(session, "PRAGMA user_version");
  }

  void SetSchemaVersion(soci::session& session, int version) const override {
    session << "PRAGMA user_version = " << version;
  }

  std::string Fold(std::string_view expression) const override {
    std::string folded = "lower(trim(" + std::string(expression) + ", char(";
    for (const char blank : kFoldedBlanks) {
      folded += (blank == kFoldedBlanks.front() ? "" : ", ") + std::to_string(static_cast<int>(blank));
    }
    folded += ")))";
    for (const auto& [capital, small] : kFoldedLetters) {
      folded = "replace(" + folded + ", '" + std::string(capital) + "', '" + std::string(small) + "')";
    }
    return folded;
  }

  std::string Nearest(std::string_view number) const override {
    return "CAST(ROUND(" + std::string(number) + ") AS BIGINT)";
  }

  std::string DaysAfter(std::string_view date, std::string_view days) const override {
    return "date(" + std::string(date) + ", CAST(" + std::string(days) + " AS INTEGER) || ' days')";
  }

  ColumnTypes Types() const override { return {.key = "INTEGER PRIMARY KEY"}; }
  std::string_view BeginRead() const override { return "BEGIN"; }
  std::string_view BeginWrite(Writing /*writing*/) const override { return "BEGIN IMMEDIATE"; }
  std::string_view StillThere() const override { return {}; }
  bool IsFileGone(soci::session& session) const override { return HasFileMoved(session); }
  bool LetsOthersWrite() const override { return false; }
  void Claim(soci::session& /*session*/, const std::vector<std::string>& /*names*/) const override {}
  void KeepSoFar(soci::session& /*session*/) const override {}
  std::unique_ptr<RowCopy> CopyInto(DatabaseConnection& /*connection*/, std::string_view /*table*/,
                                    const std::vector<std::string>& /*columns*/) const override {
    return nullptr;
  }
  std::unique_ptr<RowCopy> ChangeTogether(DatabaseConnection& /*connection*/, std::string_view /*table*/,
                                          const std::vector<std::string>& /*columns*/,
                                          const std::string& /*by*/) const override {
    return nullptr;
  }
  bool Recover(soci::session& /*session*/) const override { return false; }
  bool HasFailed(soci::session& /*session*/) const override { return false; }
  bool IsLost(soci::session& /*session*/) const override { return false; }
  std::size_t MostParameters() const override { return 32'766; }

  // The folded texts of a row by three letters, in NAME. Rows above the last one there are not in it yet;
  // those that were changed or taken away wait in NAME_ceka.
  std::vector<std::string> MakeSearchIndex(const std::string& name, const std::string& table) const override {
    const std::string waits = name + "_ceka";
    std::vector<std::string> sql = {
        "CREATE VIRTUAL TABLE " + name + " USING fts5(t, tokenize = 'trigram case_sensitive 1')",
        "CREATE TABLE " + waits + " (id INTEGER PRIMARY KEY)"};
    for (const std::string event : {"UPDATE", "DELETE"}) {
      sql.push_back("CREATE TRIGGER " + waits + "_" + event + " AFTER " + event + " ON " + table +
                    " BEGIN INSERT OR IGNORE INTO " + waits + " VALUES (old.id); END");
    }
    return sql;
  }

  std::vector<std::string> RefreshSearchIndex(const SearchIndex& index, int most) const override {
    const std::string waits = index.name + "_ceka";
    const std::string some = "(SELECT id FROM " + waits + " ORDER BY id LIMIT " + std::to_string(most) + ")";
    const std::string take = "INSERT INTO " + index.name + " (rowid, t) SELECT t.id, " + FoldedTexts(index) +
                             " FROM " + index.table + " t WHERE t.id ";
    return {"DELETE FROM " + waits + " WHERE id > " + LastIndexed(index),
            "DELETE FROM " + index.name + " WHERE rowid IN " + some, take + "IN " + some,
            "DELETE FROM " + waits + " WHERE id IN " + some,
            take + "> " + LastIndexed(index) + " ORDER BY t.id LIMIT " + std::to_string(most)};
  }

  std::string CountUnindexed(const SearchIndex& index, int most) const override {
    return "SELECT COUNT(*) FROM (SELECT id FROM " + index.name + "_ceka UNION ALL SELECT id FROM " +
           index.table + " WHERE id > " + LastIndexed(index) + " LIMIT " + std::to_string(most) + ")";
  }

  SearchQuery FindInSearchIndex(const SearchIndex& index, const std::string& folded,
                                const std::string& parameter) const override {
    constexpr std::size_t kLetters = 3;
    const std::string waiting = "(SELECT id FROM " + index.name + "_ceka)";
    const std::string holds = ", :" + parameter + ") > 0 ";
    const std::string rest = "rowid NOT IN " + waiting + " UNION ALL SELECT t.id FROM " + index.table +
                             " t WHERE (t.id > " + LastIndexed(index) + " OR t.id IN " + waiting +
                             ") AND instr(" + FoldedTexts(index) + holds;
    const std::string begin = "SELECT rowid FROM " + index.name + " WHERE ";
    if (CountCharacters(folded) < kLetters) return {begin + "instr(t" + holds + "AND " + rest, {folded}};
    std::string phrase = "\"";
    for (const char c : folded) phrase.append(c == '"' ? 2 : 1, c);
    return {begin + index.name + " MATCH :" + parameter + "_izraz AND " + rest, {phrase + '"', folded}};
  }

  std::string_view ListColumns() const override {
    return "SELECT l.name, c.name, c.type, c.\"notnull\" FROM pragma_table_list AS l "
           "JOIN pragma_table_info(l.name) AS c WHERE l.schema = 'main' AND l.type = 'table' "
           "AND l.name NOT LIKE 'sqlite\\_%' ESCAPE '\\' "
           "AND l.name NOT LIKE '%\\_trazi\\_ceka' ESCAPE '\\' ORDER BY l.name, c.cid";
  }
  std::string_view ListReferences() const override {
    return "SELECT l.name, r.\"from\", r.\"table\", r.\"to\" FROM pragma_table_list AS l "
           "JOIN pragma_foreign_key_list(l.name) AS r WHERE l.schema = 'main' AND l.type = 'table' "
           "ORDER BY l.name, r.id";
  }

  std::vector<std::string> FindDamages(soci::session& session, int most) const override {
    return FindSqliteDamages(session, most);
  }

  Executed Execute(soci::statement& statement, std::span<const ValueSlot> parameters) const override {
    sqlite_api::sqlite3_stmt* const prepared = Backend(statement).stmt_;
    int result = SQLITE_OK;
    for (std::size_t i = 0; i < parameters.size() && result == SQLITE_OK; ++i) {
      result = BindValue(prepared, static_cast<int>(i) + 1, parameters[i]);
    }
    if (result == SQLITE_OK) result = sqlite_api::sqlite3_step(prepared);
    sqlite_api::sqlite3* const database = sqlite_api::sqlite3_db_handle(prepared);
    if (result != SQLITE_DONE && result != SQLITE_ROW) {
      const std::string message = sqlite_api::sqlite3_errmsg(database);
      sqlite_api::sqlite3_reset(prepared);
      throw soci::sqlite3_soci_error(message, result);
    }
    Executed executed;
    if (result == SQLITE_ROW) executed.answer = sqlite_api::sqlite3_column_int64(prepared, 0);
    sqlite_api::sqlite3_reset(prepared);
    executed.changed = sqlite_api::sqlite3_changes(database);
    return executed;
  }

  std::optional<std::size_t> ColumnCount(soci::statement& statement, bool /*is_executed*/) const override {
    return static_cast<std::size_t>(Backend(statement).prepare_for_describe());
  }

  void Reset(soci::statement& statement) const override {
    sqlite_api::sqlite3_reset(Backend(statement).stmt_);
  }

  bool StoresBinaries() const override { return true; }
  bool IsGone(const soci::soci_error& /*error*/) const override { return false; }
  bool IsFailure(const soci::soci_error& error) const override {
    constexpr int kFailures[] = {SQLITE_BUSY,   SQLITE_LOCKED,  SQLITE_NOMEM, SQLITE_READONLY,
                                 SQLITE_IOERR,  SQLITE_CORRUPT, SQLITE_FULL,  SQLITE_CANTOPEN,
                                 SQLITE_NOTADB, SQLITE_PROTOCOL};
    return std::find(std::begin(kFailures), std::end(kFailures), SqliteResult(error)) != std::end(kFailures);
  }

  bool LacksRoom(const soci::soci_error& error, soci::session& session) const override {
    const int result = SqliteResult(error);
    return (result == SQLITE_CANTOPEN || result == SQLITE_IOERR) && LacksFiles(SystemError(session));
  }

  std::string Explain(const soci::soci_error& error, soci::session& session,
                      const DatabaseLocation& location) const override {
    const std::string message = EngineMessage(error);
    switch (const int result = SqliteResult(error)) {
      case SQLITE_CONSTRAINT:
        return ExplainConstraint(message);
      case SQLITE_NOTADB:
        return "is not a company database";
      case SQLITE_CORRUPT:
        return "the file is damaged: " + message;
      case SQLITE_FULL:
      case SQLITE_IOERR:
      case SQLITE_READONLY:
      case SQLITE_CANTOPEN:
        return ExplainFileFailure(result, SystemError(session), location.path());
      case SQLITE_BUSY:
      case SQLITE_LOCKED:
      case SQLITE_PROTOCOL:
        return "another program keeps the database locked; try again when it has finished";
      default:
        return message;
    }
  }

  void SetLongestWait(soci::session& session, const int& milliseconds) const override {
    WaitAtMost(session, milliseconds);
  }

 private:
  // A letter that no text has between the texts, so that nothing is found that begins in one and ends in the
  // next.
  static std::string FoldedTexts(const SearchIndex& index) {
    std::string texts;
    for (const std::string& column : index.columns) {
      texts += (texts.empty() ? "COALESCE(t." : " || char(31) || COALESCE(t.") + column + ", '')";
    }
    return "fold(" + texts + ")";
  }
  static std::string LastIndexed(const SearchIndex& index) {
    return "COALESCE((SELECT rowid FROM " + index.name + " ORDER BY rowid DESC LIMIT 1), 0)";
  }

  static soci::sqlite3_statement_backend& Backend(soci::statement& statement) {
    return static_cast<soci::sqlite3_statement_backend&>(*statement.get_backend());
  }
};

}  // namespace

const Dialect& SqliteDialect() {
  static const Sqlite dialect;
  return dialect;
}

}  // namespace mox
