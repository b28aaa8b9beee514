#include "appserver/sqlite_files.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <memory>
#include <system_error>
#include <thread>

#include "appserver/database.h"
#include "appserver/descriptors.h"
#include "mox/foundation/files.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

// The engine's own waiting pauses up to a tenth of a second, in which busy writers can pass by a waiting one
// again and again. Looking more often costs little and leaves nobody behind.
int WaitForLock(void* longest, int tries) {
  thread_local std::chrono::steady_clock::time_point begin;
  const auto now = std::chrono::steady_clock::now();
  if (tries == 0) begin = now;
  if (now - begin > std::chrono::milliseconds(*static_cast<const int*>(longest))) return 0;
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

sqlite_api::sqlite3* HandleOf(soci::session& session) {
  return static_cast<soci::sqlite3_session_backend*>(session.get_backend())->conn_;
}

// What the engine keeps beside a database.
constexpr std::string_view kCompanions[] = {"-journal", "-wal", "-shm"};

fs::path Beside(const fs::path& path, std::string_view ending) {
  fs::path beside = path;
  return beside += ending;
}

void RemoveCompanions(const fs::path& path) {
  std::error_code ignored;
  for (const std::string_view companion : kCompanions) fs::remove(Beside(path, companion), ignored);
}

// Writes of others that are not in the file itself yet.
bool HasLog(const fs::path& path) {
  std::error_code error;
  const auto size = fs::file_size(Beside(path, "-wal"), error);
  return !error && size > 0;
}

[[noreturn]] void RefuseInUse(const std::string& path) {
  throw DatabaseError(path + ": other programs are using it; nothing was changed");
}

}  // namespace

void ConnectSqlite(soci::session& session, const fs::path& path, std::string_view mode, Locking locking) {
  [[maybe_unused]] static const int uris = sqlite_api::sqlite3_config(SQLITE_CONFIG_URI, 1);
  session.open(soci::sqlite3, ConnectString(path, mode));
  WaitAtMost(session, Database::kLongestWait);
  session << "PRAGMA foreign_keys = ON";
  if (locking == Locking::kExclusive) {
    constexpr int kMilliseconds = 1000;
    sqlite_api::sqlite3_busy_timeout(HandleOf(session), kMilliseconds);
    AnswerOf<std::string>(session, "PRAGMA locking_mode = EXCLUSIVE");
  }
  session << "PRAGMA synchronous = FULL";  // the first to read the file
}

void WaitAtMost(soci::session& session, const int& milliseconds) {
  sqlite_api::sqlite3_busy_handler(HandleOf(session), WaitForLock, const_cast<int*>(&milliseconds));
}

bool HasFileMoved(soci::session& session) {
  int moved = 0;
  const int result =
      sqlite_api::sqlite3_file_control(HandleOf(session), "main", SQLITE_FCNTL_HAS_MOVED, &moved);
  return result == SQLITE_OK && moved != 0;
}

int SystemError(soci::session& session) {
  return session.get_backend() == nullptr ? 0 : sqlite_api::sqlite3_system_errno(HandleOf(session));
}

bool LacksFiles(int system_error) {
  return system_error == static_cast<int>(std::errc::too_many_files_open) ||
         system_error == static_cast<int>(std::errc::too_many_files_open_in_system) || LacksDescriptors();
}

// The system's number may be that of a later call, so only those are believed that tell of files; a disk that
// has no room for a page of the log's index is full.
std::string ExplainFileFailure(int result, int system_error, const fs::path& path) {
  constexpr std::uintmax_t kLeastRoom = 65'536;
  const auto is = [system_error](std::errc code) { return system_error == static_cast<int>(code); };
  if (result == SQLITE_FULL || is(std::errc::no_space_on_device)) return "the disk is full";
  std::error_code error;
  const fs::space_info room = fs::space(fs::absolute(path).parent_path(), error);
  if (!error && result == SQLITE_IOERR && room.available < kLeastRoom) return "the disk is full";
  if (is(std::errc::file_too_large)) return "the file may not grow: this user's limit for files is reached";
  if (result == SQLITE_READONLY) return "cannot be written: the file or its folder is read-only";
  if (LacksFiles(system_error))
    return "this program has as many files open as the system lets it (ulimit -n)";
  if (fs::exists(path, error) && !std::ifstream(path).is_open()) return "this user may not read the file";
  if (result == SQLITE_CANTOPEN) {
    return "cannot be opened; the program must be allowed to read and write the file and its folder";
  }
  return "the file cannot be read or written, perhaps because the disk is full";
}

// Readers share an index of the log beside the file. Where it cannot be made, a file without a log is read as
// it stands; one whose log is left is read alone, which needs no such index.
void ConnectSqliteForReading(soci::session& session, const std::string& path) {
  try {
    ConnectSqlite(session, path, "rw");
    session << "PRAGMA query_only = ON";
  } catch (const soci::sqlite3_soci_error& error) {
    constexpr int kNotWritten[] = {SQLITE_READONLY, SQLITE_CANTOPEN, SQLITE_IOERR, SQLITE_FULL};
    const int result = SqliteResult(error);
    if (std::find(std::begin(kNotWritten), std::end(kNotWritten), result) == std::end(kNotWritten)) throw;
    session.close();
    if (!HasLog(path)) return ConnectSqlite(session, path, "ro&immutable=1");
    ConnectSqlite(session, path, "rw", Locking::kExclusive);
    session << "PRAGMA query_only = ON";
  }
}

bool IsCompanyDatabase(soci::session& session) {
  return AnswerOf<int>(session, "PRAGMA application_id") == kApplicationId;
}

int SqliteResult(const soci::soci_error& error) {
  const auto* const known = dynamic_cast<const soci::sqlite3_soci_error*>(&error);
  return known == nullptr ? SQLITE_ERROR : known->result() & 0xFF;
}

std::vector<std::string> FindSqliteDamages(soci::session& session, int most) {
  const std::string limit = std::to_string(most);
  const soci::rowset<std::string> rows =
      (session.prepare << "SELECT integrity_check FROM pragma_integrity_check(" + limit + ")");
  std::vector<std::string> damages(rows.begin(), rows.end());
  std::erase(damages, "ok");
  for (std::string& damage : damages) std::replace(damage.begin(), damage.end(), '\n', ' ');
  if (!damages.empty()) return damages;
  std::string table;
  std::string parent;
  soci::statement statement =
      (session.prepare << "SELECT DISTINCT \"table\", parent FROM pragma_foreign_key_check LIMIT " + limit,
       soci::into(table), soci::into(parent));
  statement.execute();
  while (statement.fetch()) {
    damages.push_back("a row of " + table + " refers to one of " + parent + " that is not there");
  }
  return damages;
}

TemporarySqliteFile::TemporarySqliteFile(const fs::path& target) : target_(target) {
  try {
    for (int i = 0; !lock_; ++i) {
      path_ = Beside(target, "." + std::to_string(i) + ".new");
      lock_ = FileLock::Try(path_.string());
      if (lock_ && !fs::exists(path_)) lock_.reset();  // it was just given its name
    }
  } catch (const Error&) {
    throw DatabaseError(target.string() +
                        ": cannot be created; is there such a folder, and may it be written?");
  }
  RemoveCompanions(path_);
  std::error_code error;
  fs::resize_file(path_, 0, error);
}

TemporarySqliteFile::~TemporarySqliteFile() {
  if (path_.empty()) return;
  std::error_code ignored;
  fs::remove(path_, ignored);
  RemoveCompanions(path_);
}

// A second name first, because a link replaces nothing.
void TemporarySqliteFile::GiveName(const fs::path& name) const {
  std::error_code error;
  fs::create_hard_link(path_, name, error);
  if (error && !fs::exists(fs::symlink_status(name))) fs::rename(path_, name, error);
  if (error) throw DatabaseError(name.string() + ": cannot be created: " + error.message());
}

void TemporarySqliteFile::TakePlaceOf(const fs::path& target) {
  std::error_code error;
  fs::rename(path_, target, error);
  if (error) throw DatabaseError(target.string() + ": cannot be replaced: " + error.message());
  path_.clear();
}

void RequireFreeName(const fs::path& path) {
  if (fs::exists(fs::symlink_status(path)))
    throw DatabaseError(path.string() + ": there is such a file already");
  for (const std::string_view companion : kCompanions) {
    const fs::path leftover = Beside(path, companion);
    if (fs::exists(leftover)) {
      throw DatabaseError(leftover.string() + ": is left over from another database; remove it first");
    }
  }
}

namespace {

// The engine copies page by page within one snapshot, so that writers need not wait.
void CopyPages(soci::session& from, soci::session& copy, const TemporarySqliteFile& to,
               const std::function<void()>& reached = nullptr) {
  ConnectSqlite(copy, to.path(), "rw");
  struct Finish {
    void operator()(sqlite_api::sqlite3_backup* copying) const { sqlite_api::sqlite3_backup_finish(copying); }
  };
  std::unique_ptr<sqlite_api::sqlite3_backup, Finish> backup(
      sqlite_api::sqlite3_backup_init(HandleOf(copy), "main", HandleOf(from), "main"));
  constexpr int kAllPages = -1;
  constexpr int kPagesBetween = 1000;
  int step = backup == nullptr ? SQLITE_ERROR : SQLITE_OK;
  while (step == SQLITE_OK) {
    step = sqlite_api::sqlite3_backup_step(backup.get(), reached ? kPagesBetween : kAllPages);
    if (reached) reached();
  }
  backup.reset();
  const int result = step == SQLITE_DONE ? SQLITE_OK : step & 0xFF;
  const int system_error = SystemError(copy);
  if (result == SQLITE_OK) return;
  constexpr int kOfFiles[] = {SQLITE_FULL, SQLITE_IOERR, SQLITE_READONLY, SQLITE_CANTOPEN};
  const bool of_file = std::find(std::begin(kOfFiles), std::end(kOfFiles), result) != std::end(kOfFiles);
  throw DatabaseError(
      to.target().string() + ": the copy cannot be written: " +
      (of_file ? ExplainFileFailure(result, system_error, to.path()) : sqlite_api::sqlite3_errstr(result)));
}

}  // namespace

void CopySqlite(soci::session& from, const TemporarySqliteFile& to, const std::function<void()>& reached) {
  soci::session copy;
  CopyPages(from, copy, to, reached);
  const std::vector<std::string> damages = FindSqliteDamages(copy, 1);
  if (!IsCompanyDatabase(copy) || !damages.empty()) {
    throw DatabaseError("the copy is damaged, as the database may be" +
                        (damages.empty() ? "" : ": " + damages.front()));
  }
}

namespace {

// The database to be replaced, for this program alone and whole in one file. False where the file is none, or
// so damaged that the engine cannot open it. Raises DatabaseError where others use it.
bool TakeForOneself(soci::session& session, const std::string& path) {
  try {
    ConnectSqlite(session, path, "rw", Locking::kExclusive);
    session << "BEGIN EXCLUSIVE";
    session << "COMMIT";
    AnswerOf<std::string>(session, "PRAGMA journal_mode = DELETE");
    return true;
  } catch (const soci::soci_error& error) {
    const int result = SqliteResult(error);
    if (result == SQLITE_BUSY || result == SQLITE_LOCKED) RefuseInUse(path);
    session.close();
    return false;
  }
}

// Who opened the old file in the last moment is not to go on with one that has no name any more.
void MakeUseless(soci::session& session) {
  try {
    AnswerOf<std::string>(session, "PRAGMA journal_mode = OFF");
    session << "PRAGMA application_id = 0";
  } catch (const soci::soci_error&) {
    return;
  }
}

// A free name for what is replaced.
fs::path NameOfReplaced(const fs::path& target) {
  for (int i = 1;; ++i) {
    fs::path name = Beside(target, ".replaced-" + std::to_string(i));
    if (!fs::exists(fs::symlink_status(name)) && !HasLog(name)) return name;
  }
}

// The old database as it is, damaged perhaps; nobody else uses it.
void KeepReplaced(soci::session& session, const fs::path& target, const fs::path& name) {
  const TemporarySqliteFile temporary(target);
  {
    soci::session copy;
    CopyPages(session, copy, temporary);
  }
  std::error_code error;
  fs::permissions(temporary.path(), fs::status(target).permissions(), error);
  temporary.GiveName(name);
}

// A file that the engine cannot open, with its log.
void KeepUnreadable(const fs::path& target, const fs::path& name) {
  std::error_code error;
  fs::copy_file(target, name, error);
  if (!error && HasLog(target)) fs::copy_file(Beside(target, "-wal"), Beside(name, "-wal"), error);
  if (error) throw DatabaseError(name.string() + ": cannot be written: " + error.message());
}

}  // namespace

std::string ReplaceSqlite(TemporarySqliteFile& complete, const std::string& path) {
  const fs::path target = BehindLinks(path);
  const fs::file_status old = fs::status(target);
  if (fs::exists(old) && !fs::is_regular_file(old)) throw DatabaseError(path + ": is not a file");
  soci::session session;
  const bool taken = fs::exists(old) && TakeForOneself(session, target.string());
  fs::path kept;
  if (fs::exists(old)) {
    kept = NameOfReplaced(target);
    taken ? KeepReplaced(session, target, kept) : KeepUnreadable(target, kept);
  }
  std::error_code error;
  if (fs::exists(old)) fs::permissions(complete.path(), old.permissions(), error);
  RemoveCompanions(target);
  complete.TakePlaceOf(target);
  if (taken) MakeUseless(session);
  return kept.string();
}

}  // namespace mox
