#include <soci/sqlite3/soci-sqlite3.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <thread>

#include "appserver/connection.h"
#include "appserver/dialect.h"
#include "appserver/fold.h"
#include "appserver/soci_headers.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

constexpr int kApplicationId = 0x6D6F7864;  // "moxd", in the head of each company database
constexpr auto kLongestWait = std::chrono::seconds(30);

// The engine's own waiting pauses up to a tenth of a second, in which busy writers can pass by a waiting one
// again and again. Looking more often costs little and leaves nobody behind.
int WaitForLock(void* /*unused*/, int tries) {
  thread_local std::chrono::steady_clock::time_point begin;
  const auto now = std::chrono::steady_clock::now();
  if (tries == 0) begin = now;
  if (now - begin > kLongestWait) return 0;
  std::this_thread::sleep_for(std::chrono::microseconds(tries < 10 ? 500 : 1000 + tries % 7 * 500));
  return 1;
}

// As a URI, in which every character can stand, and which does not create a file that is missing.
std::string ConnectString(const fs::path& path, std::string_view mode) {
  std::string uri = "dbname=file://";
  for (const char c : fs::absolute(path).string()) {
    constexpr std::string_view kPlain = "/._-";
    const bool plain = (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') ||
                       kPlain.find(c) != std::string_view::npos;
    if (plain) {
      uri += c;
    } else {
      constexpr std::string_view kDigits = "0123456789ABCDEF";
      const auto byte = static_cast<unsigned char>(c);
      uri += {'%', kDigits[byte >> 4U], kDigits[byte & 15U]};
    }
  }
  return uri + "?mode=" + std::string(mode);
}

void Connect(soci::session& session, const fs::path& path, std::string_view mode) {
  [[maybe_unused]] static const int uris = sqlite_api::sqlite3_config(SQLITE_CONFIG_URI, 1);
  session.open(soci::sqlite3, ConnectString(path, mode));
  const auto* const backend = static_cast<soci::sqlite3_session_backend*>(session.get_backend());
  sqlite_api::sqlite3_busy_handler(backend->conn_, WaitForLock, nullptr);
  session << "PRAGMA foreign_keys = ON";
  session << "PRAGMA synchronous = FULL";  // the first to read the file
}

template <typename T>
T Answer(soci::session& session, const std::string& sql) {
  T value{};
  session << sql, soci::into(value);
  return value;
}

bool IsOurs(soci::session& session) {
  return Answer<int>(session, "PRAGMA application_id") == kApplicationId;
}

// A file mode that another tool has changed is set right when nobody else has the file open.
void SetWriteAheadLog(soci::session& session) {
  if (Answer<std::string>(session, "PRAGMA journal_mode") == "wal") return;
  try {
    Answer<std::string>(session, "PRAGMA journal_mode = WAL");
  } catch (const soci::soci_error&) {
    return;
  }
}

// What the engine keeps beside a database.
constexpr std::string_view kCompanions[] = {"-journal", "-wal", "-shm"};

fs::path Beside(const fs::path& path, std::string_view ending) {
  fs::path beside = path;
  return beside += ending;
}

// An empty file beside the path, for its owner alone as everything that the engine keeps beside it; whatever
// lies there in the end is removed.
class TemporaryDatabase {
 public:
  explicit TemporaryDatabase(const fs::path& target) {
    for (int i = 0; path_.empty() || fs::exists(path_); ++i) {
      path_ = Beside(target, "." + std::to_string(i) + ".new");
    }
    try {
      ReplaceFile(path_.string(), "", FileAccess::kOwnerOnly);
    } catch (const Error&) {
      throw DatabaseError(target.string() +
                          ": cannot be created; is there such a folder, and may it be written?");
    }
  }
  ~TemporaryDatabase() {
    std::error_code ignored;
    fs::remove(path_, ignored);
    for (const std::string_view companion : kCompanions) fs::remove(Beside(path_, companion), ignored);
  }
  TemporaryDatabase(const TemporaryDatabase&) = delete;
  TemporaryDatabase& operator=(const TemporaryDatabase&) = delete;
  const fs::path& path() const { return path_; }

 private:
  fs::path path_;
};

void RequireFree(const fs::path& path) {
  if (fs::exists(fs::symlink_status(path)))
    throw DatabaseError(path.string() + ": there is such a file already");
  for (const std::string_view companion : kCompanions) {
    const fs::path leftover = Beside(path, companion);
    if (fs::exists(leftover)) {
      throw DatabaseError(leftover.string() + ": is left over from another database; remove it first");
    }
  }
}

// Gives a complete file its name, which must be free; a second name first, because a link replaces nothing.
void GiveName(const fs::path& complete, const fs::path& name) {
  std::error_code error;
  fs::create_hard_link(complete, name, error);
  if (error && !fs::exists(fs::symlink_status(name))) fs::rename(complete, name, error);
  if (error) throw DatabaseError(name.string() + ": cannot be created: " + error.message());
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

// The engine's primary result code.
int ResultOf(const soci::soci_error& error) {
  const auto* const known = dynamic_cast<const soci::sqlite3_soci_error*>(&error);
  return known == nullptr ? SQLITE_ERROR : known->result() & 0xFF;
}

// Readers share a log beside the file. Where it cannot be created, on a disk that is write-protected, nobody
// can write either, and a file whose log is not left over is read as it stands.
void OpenForReading(soci::session& session, const std::string& path) {
  try {
    Connect(session, path, "rw");
    session << "PRAGMA query_only = ON";
  } catch (const soci::sqlite3_soci_error& error) {
    const bool no_log = error.result() == SQLITE_READONLY || error.result() == SQLITE_CANTOPEN;
    if (!no_log || fs::exists(Beside(path, "-wal"))) throw;
    session.close();
    Connect(session, path, "ro&immutable=1");
  }
}

class Sqlite : public Dialect {
 public:
  void Open(soci::session& session, const std::string& path, Database::Access access) const override {
    const fs::file_status status = fs::status(path);
    if (!fs::exists(status)) throw DatabaseError(path + ": there is no such file");
    if (!fs::is_regular_file(status)) throw DatabaseError(path + ": is not a file");
    if (access == Database::Access::kReadOnly) return OpenForReading(session, path);
    Connect(session, path, "rw");
    if (IsOurs(session)) SetWriteAheadLog(session);
  }

  void Create(const std::string& path, const std::function<void(DatabaseConnection&)>& fill) const override {
    RequireFree(path);
    const TemporaryDatabase temporary(path);
    {
      // The log comes last: until then each failure to write is told, and none left to the closing.
      DatabaseConnection connection(path, [&](soci::session& s) { Connect(s, temporary.path(), "rw"); });
      connection.Execute("PRAGMA application_id = " + std::to_string(kApplicationId));
      fill(connection);
      connection.Run([&] { Answer<std::string>(connection.session(), "PRAGMA journal_mode = WAL"); });
    }
    if (fs::exists(Beside(temporary.path(), "-wal"))) throw DatabaseError(path + ": cannot be written");
    GiveName(temporary.path(), path);
  }

  std::optional<int> SchemaVersion(soci::session& session) const override {
    if (!IsOurs(session)) return std::nullopt;
    Answer<int>(session, "SELECT count(*) FROM sqlite_master");  // has all definitions read
    return Answer<int>(session, "PRAGMA user_version");
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

  std::string_view KeyType() const override { return "INTEGER PRIMARY KEY"; }
  std::string_view BeginRead() const override { return "BEGIN"; }
  std::string_view BeginWrite() const override { return "BEGIN IMMEDIATE"; }
  std::size_t MostParameters() const override { return 32'766; }

  std::vector<std::string> TableNames(soci::session& session) const override {
    const soci::rowset<std::string> rows =
        (session.prepare << "SELECT name FROM sqlite_master WHERE type = 'table' "
                            "AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY name");
    return {rows.begin(), rows.end()};
  }

  Columns TableColumns(soci::session& session, const std::string& table) const override {
    Columns columns;
    std::string name;
    std::string type;
    int required = 0;
    soci::statement statement =
        (session.prepare << "SELECT name, type, \"notnull\" FROM pragma_table_info(:name) ORDER BY cid",
         soci::use(table), soci::into(name), soci::into(type), soci::into(required));
    statement.execute();
    while (statement.fetch()) columns.push_back(FieldOfColumn(name, type, required != 0));
    return columns;
  }

  std::vector<Reference> References(soci::session& session, const std::string& table) const override {
    std::vector<Reference> references;
    Reference row;
    soci::statement statement =
        (session.prepare
             << "SELECT \"from\", \"table\", \"to\" FROM pragma_foreign_key_list(:name) ORDER BY id",
         soci::use(table), soci::into(row.column), soci::into(row.table), soci::into(row.key));
    statement.execute();
    while (statement.fetch()) references.push_back(row);
    return references;
  }

  std::string FindDamage(soci::session& session) const override {
    auto finding = Answer<std::string>(session, "PRAGMA integrity_check(1)");
    std::replace(finding.begin(), finding.end(), '\n', ' ');
    if (finding != "ok") return finding;
    std::string table;
    soci::indicator found = soci::i_null;
    session << "SELECT \"table\" FROM pragma_foreign_key_check LIMIT 1", soci::into(table, found);
    return session.got_data() ? "a row of " + table + " refers to one that is not there" : "";
  }

  std::size_t ColumnCount(soci::statement& statement) const override {
    return static_cast<std::size_t>(Backend(statement).prepare_for_describe());
  }

  void Reset(soci::statement& statement) const override {
    sqlite_api::sqlite3_reset(Backend(statement).stmt_);
  }

  bool IsFailure(const soci::soci_error& error) const override {
    constexpr int kFailures[] = {SQLITE_BUSY,   SQLITE_LOCKED,  SQLITE_NOMEM, SQLITE_READONLY,
                                 SQLITE_IOERR,  SQLITE_CORRUPT, SQLITE_FULL,  SQLITE_CANTOPEN,
                                 SQLITE_NOTADB, SQLITE_PROTOCOL};
    return std::find(std::begin(kFailures), std::end(kFailures), ResultOf(error)) != std::end(kFailures);
  }

  std::string Explain(const soci::soci_error& error) const override {
    const std::string message = EngineMessage(error);
    switch (ResultOf(error)) {
      case SQLITE_NOTADB:
        return "is not a company database";
      case SQLITE_CORRUPT:
        return "the file is damaged: " + message;
      case SQLITE_FULL:
        return "the disk is full";
      case SQLITE_IOERR:
        // Where a full disk stops the engine's own files beside the database, this is all that it says.
        return "the file cannot be read or written, perhaps because the disk is full: " + message;
      case SQLITE_READONLY:
        return "the file is read-only";
      case SQLITE_CANTOPEN:
        return "cannot be opened; the program must be allowed to read and write the file and its folder";
      case SQLITE_BUSY:
      case SQLITE_LOCKED:
      case SQLITE_PROTOCOL:
        return "another program has kept the file locked for " + std::to_string(kLongestWait.count()) +
               " seconds";
      default:
        return message;
    }
  }

 private:
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
