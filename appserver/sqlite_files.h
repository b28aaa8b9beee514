#pragma once

#include <soci/sqlite3/soci-sqlite3.h>

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/soci_headers.h"
#include "mox/foundation/file_lock.h"

namespace mox {

// What the SQLite dialect does with files: connecting, creating, copying and putting back.

inline constexpr int kApplicationId = 0x6D6F7864;  // "moxd", in the head of each company database

enum class Locking : bool { kShared, kExclusive };

/// Connects to an existing file with one of the engine's modes, "rw" or "ro&immutable=1". With kExclusive
/// nobody else can use the file from the first query on, which waits for a second only. Raises soci_error.
void ConnectSqlite(soci::session& session, const std::filesystem::path& path, std::string_view mode,
                   Locking locking = Locking::kShared);

/// Connects for reading only, also where nothing can be written: on a write-protected disk, in a folder that
/// the user may not write, on a full disk. Raises soci_error.
void ConnectSqliteForReading(soci::session& session, const std::string& path);

/// For the transaction of another program. The number must outlive the session's use.
void WaitAtMost(soci::session& session, const int& milliseconds);

/// Whether the file was renamed, replaced or deleted since it was opened: what is stored then is found by
/// nobody.
bool HasFileMoved(soci::session& session);

/// The operating system's number of the session's last failure; 0 where there was none.
int SystemError(soci::session& session);

/// Whether that number, or what this process can do now, tells that it may not open more files.
bool LacksFiles(int system_error);

/// Why a database's file, or what the engine keeps beside it, cannot be read or written, by the engine's code
/// and the system's number.
std::string ExplainFileFailure(int result, int system_error, const std::filesystem::path& path);

/// The only value that a query answers.
template <typename T>
T AnswerOf(soci::session& session, const std::string& sql) {
  T value{};
  session << sql, soci::into(value);
  return value;
}

bool IsCompanyDatabase(soci::session& session);

/// The engine's primary result code.
int SqliteResult(const soci::soci_error& error);

/// What the engine's full check of a file and its references finds, so many findings at most.
std::vector<std::string> FindSqliteDamages(soci::session& session, int most);

/// An empty database file beside a path, for its owner alone as everything that the engine keeps beside it.
/// Whatever lies there in the end is removed; what a program left that was killed goes when the next one
/// makes such a file.
class TemporarySqliteFile {
 public:
  /// Raises DatabaseError where the folder cannot be written.
  explicit TemporarySqliteFile(const std::filesystem::path& target);
  ~TemporarySqliteFile();
  TemporarySqliteFile(const TemporarySqliteFile&) = delete;
  TemporarySqliteFile& operator=(const TemporarySqliteFile&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// The file that it is made for.
  const std::filesystem::path& target() const { return target_; }
  /// Gives the complete file a name, which must be free. Raises DatabaseError.
  void GiveName(const std::filesystem::path& name) const;
  /// Puts the complete file in the place of another one. Raises DatabaseError.
  void TakePlaceOf(const std::filesystem::path& target);

 private:
  std::filesystem::path target_;
  std::filesystem::path path_;
  std::optional<FileLock> lock_;  // held while the program is alive
};

/// Raises DatabaseError where the path, or the name of a file that the engine keeps beside it, is not free.
void RequireFreeName(const std::filesystem::path& path);

/// Fills an empty file with what a database holds at this moment, while others read and write it, and checks
/// the copy. With `reached` the database is within a read transaction, and it is called after every so many
/// pages. Raises soci_error, DatabaseError, and what `reached` raises.
void CopySqlite(soci::session& from, const TemporarySqliteFile& to,
                const std::function<void()>& reached = nullptr);

/// Puts a complete file in the place of a database, at once and together with the removal of what the engine
/// kept beside it. Raises DatabaseError where other programs use the database; it is as it was then. Answers
/// the name beside it under which the old one stays, empty where there was none.
std::string ReplaceSqlite(TemporarySqliteFile& complete, const std::string& path);

}  // namespace mox
