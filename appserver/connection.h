#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "appserver/commit_lost.h"
#include "appserver/database.h"
#include "appserver/dialect.h"
#include "appserver/kept_statements.h"
#include "appserver/soci_headers.h"

namespace mox {

/// An open connection. Whatever the database refuses becomes a DatabaseError that names its location.
class DatabaseConnection {
 public:
  using Open = std::function<void(soci::session& session)>;

  DatabaseConnection(DatabaseLocation location, const Open& open)
      : location_(std::move(location)), dialect_(DialectOf(location_.kind())) {
    Run([&] { open(session_); });
  }

  const DatabaseLocation& location() const { return location_; }
  soci::session& session() { return session_; }
  const Dialect& dialect() const { return dialect_; }
  KeptStatements& kept() { return kept_; }

  /// Runs an action that talks to the database.
  template <typename Action>
  auto Run(const Action& action) -> decltype(action()) {
    try {
      return action();
    } catch (const soci::soci_error& error) {
      const std::string reason = dialect_.Explain(error, session_, location_);
      undone_ = dialect_.Recover(session_) || undone_;
      if (dialect_.IsGone(error)) throw CompanyGone(location_.ToString() + ": " + reason);
      if (dialect_.IsFailure(error)) throw DatabaseUnavailable(location_.ToString() + ": " + reason);
      Refuse(reason);
    }
  }
  /// Runs one statement without values.
  void Execute(std::string_view sql) {
    Run([&] { session_ << sql; });
  }
  [[noreturn]] void Refuse(const std::string& reason) const {
    throw DatabaseError(location_.ToString() + ": " + reason);
  }

  /// As they were when they were read for the first time.
  const std::vector<TableDescription>& Tables() {
    if (tables_.empty()) Run([&] { tables_ = ReadTables(session_, dialect_); });
    return tables_;
  }
  /// Null where there is no such table, also none that was made since.
  const TableDescription* FindTable(std::string_view name);
  /// The schema changes.
  void ForgetTables() { tables_.clear(); }

  void WaitAtMost(int milliseconds) {
    longest_wait_ = milliseconds;
    dialect_.SetLongestWait(session_, longest_wait_);
  }
  void BeginRead() {
    try {
      Begin(dialect_.BeginRead());
    } catch (...) {
      RollBack();
      throw;
    }
  }
  /// In a transaction of its own, or in the one that is there already.
  void BeginWrite(Writing writing = Writing::kAlone) {
    if (depth_++ > 0) return;
    undone_ = false;
    writing_ = dialect_.LetsOthersWrite() ? writing : Writing::kAlone;
    try {
      Begin(dialect_.BeginWrite(writing_));
    } catch (...) {
      RollBack();
      throw;
    }
  }
  /// Refuses where the engine had to undo something on the way, whoever has caught the error. Raises
  /// CommitLost where nobody has said whether it is stored.
  void Commit() {
    if (undone_ || dialect_.HasFailed(session_)) Refuse("the transaction has failed before");
    if (depth_ == 1) CommitAll();
    --depth_;
  }
  bool WritesBesideOthers() const { return depth_ > 0 && writing_ == Writing::kBesideOthers; }
  /// Also where the engine has ended the transaction by itself, as it does when the disk is full.
  void RollBack() noexcept {
    if (depth_ > 0) --depth_;
    if (depth_ > 0) {
      undone_ = true;
      return;
    }
    try {
      session_ << "ROLLBACK";
    } catch (const soci::soci_error&) {
      return;
    }
  }
  /// Reads in a transaction of its own, or in the write transaction that is there already.
  void EnterRead() {
    if (depth_ > 0) {
      ++reads_inside_;
    } else {
      BeginRead();
    }
  }
  void LeaveRead() noexcept {
    if (reads_inside_ > 0) {
      --reads_inside_;
    } else {
      RollBack();
    }
  }
  /// All of the action, or nothing.
  template <typename Action>
  void InTransaction(const Action& action) {
    BeginWrite();
    try {
      action();
      Commit();
    } catch (...) {
      RollBack();
      throw;
    }
  }

  bool MayBeWritten() const { return access_ == Database::Access::kReadWrite; }
  /// From now on it is a database that was opened: each transaction makes sure that it is still there.
  void SetOpened(Database::Access access) {
    access_ = access;
    is_opened_ = true;
  }

 private:
  void CommitAll() {
    const bool was_lost = dialect_.IsLost(session_);
    try {
      Execute("COMMIT");
    } catch (const DatabaseUnavailable& error) {
      if (was_lost || !dialect_.IsLost(session_)) throw;
      throw CommitLost(std::string(error.what()) + "; " + std::string(kNotKnown));
    }
  }

  // A connection that is lost is made anew while nothing depends on it yet.
  void Begin(std::string_view begin) {
    const std::string sql = std::string(begin).append(is_opened_ ? dialect_.StillThere() : "");
    try {
      Execute(sql);
    } catch (const DatabaseUnavailable&) {
      if (!dialect_.Reconnect(session_, location_, access_)) throw;
      kept_.Clear();
      if (longest_wait_ > 0) dialect_.SetLongestWait(session_, longest_wait_);
      Execute(sql);
    }
    if (is_opened_ && dialect_.IsFileGone(session_)) {
      throw CompanyGone(location_.ToString() + ": the file was moved, replaced or deleted while it was open");
    }
  }

  DatabaseLocation location_;
  Database::Access access_ = Database::Access::kReadWrite;
  bool is_opened_ = false;
  const Dialect& dialect_;
  int depth_ = 0;        // of write transactions
  bool undone_ = false;  // something that the transaction stored
  Writing writing_ = Writing::kAlone;
  int reads_inside_ = 0;  // the write transaction
  int longest_wait_ = 0;  // milliseconds, where it was set
  std::vector<TableDescription> tables_;
  soci::session session_;
  KeptStatements kept_;  // of the session
};

}  // namespace mox
