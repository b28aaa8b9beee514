#pragma once

#include <exception>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "appserver/commit_lost.h"
#include "appserver/database.h"
#include "appserver/dialect.h"
#include "appserver/kept_file.h"
#include "appserver/kept_statements.h"
#include "appserver/soci_headers.h"

namespace mox {

/// An open connection. Whatever the database refuses becomes a DatabaseError that names its location.
class DatabaseConnection {
 public:
  using Open = std::function<void(soci::session& session)>;
  using Refused = Statement::Refused;

  DatabaseConnection(DatabaseLocation location, const Open& open)
      : location_(std::move(location)), dialect_(DialectOf(location_.kind())) {
    Run([&] { open(session_); });
  }

  const DatabaseLocation& location() const { return location_; }
  soci::session& session() { return session_; }
  const Dialect& dialect() const { return dialect_; }
  KeptStatements& kept() { return kept_; }

  /// Runs an action that talks to the database, behind all that was sent ahead.
  template <typename Action>
  auto Run(const Action& action) -> decltype(action()) {
    Settle();
    return Attempt(action);
  }
  /// Whether statements may be sent without waiting for what the engine says to each.
  bool SendsAhead() const { return depth_ > 0 && dialect_.SendsAhead(); }
  /// Notes one that the action sends so, and who says why it is refused; that may be nobody.
  template <typename Action>
  void SendAhead(Refused refused, const Action& action) {
    constexpr std::size_t kMost = 250;
    if (unanswered_.size() >= kMost) Settle();
    Attempt(action);
    unanswered_.push_back(std::move(refused));
  }
  /// Waits for the answers to all that was sent so. Raises what the first refused one is refused with; behind
  /// it nothing was done.
  void Settle() {
    Drain();
    if (!refused_) return;
    const RefusedAhead first = *std::exchange(refused_, std::nullopt);
    const Refused say = std::exchange(says_, nullptr);
    try {
      Attempt([&] { std::rethrow_exception(first.error); });
    } catch (const DatabaseUnavailable&) {
      throw;
    } catch (const DatabaseError& error) {
      if (say) say(error);
      throw;
    }
  }
  /// The same, but that what is refused is raised by the next call.
  void Drain() noexcept {
    if (unanswered_.empty()) return;
    const std::vector<Refused> unanswered = std::exchange(unanswered_, {});
    auto first = dialect_.ReadAnswers(session_);
    if (!first || refused_) return;
    if (first->at < unanswered.size()) says_ = unanswered[first->at];
    refused_ = std::move(first);
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
    Run([&] { dialect_.SetLongestWait(session_, longest_wait_); });
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
    Drain();
    refused_.reset();
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

  void RequireThere() {
    if (!is_opened_ || !dialect_.IsFileGone(session_)) return;
    throw CompanyGone(location_.ToString() + ": the file was moved, replaced or deleted while it was open");
  }
  bool MayBeWritten() const { return access_ == Database::Access::kReadWrite; }
  /// From now on it is a database that was opened: each transaction makes sure that it is still there.
  void SetOpened(Database::Access access) {
    access_ = access;
    is_opened_ = true;
    if (!location_.IsFile()) return;
    file_.emplace(location_.path());
    locks_.emplace(*file_);
  }

 private:
  template <typename Action>
  auto Attempt(const Action& action) -> decltype(action()) {
    try {
      return action();
    } catch (const soci::soci_error& error) {
      const std::string reason = dialect_.Explain(error, session_, location_);
      undone_ = dialect_.Recover(session_) || undone_;
      if (dialect_.IsGone(error)) throw CompanyGone(location_.ToString() + ": " + reason);
      if (dialect_.IsFailure(error)) {
        if (dialect_.LacksRoom(error, session_)) throw NoRoomLeft(location_.ToString() + ": " + reason);
        if (dialect_.IsLost(session_)) throw ServerUnreachable(location_.ToString() + ": " + reason);
        throw DatabaseUnavailable(location_.ToString() + ": " + reason);
      }
      Refuse(reason);
    }
  }

  void CommitAll() {
    const bool was_lost = dialect_.IsLost(session_);
    try {
      if (unanswered_.empty()) {
        Execute("COMMIT");
      } else {
        SendAhead({}, [this] { dialect_.SendAhead(session_, "COMMIT"); });
        Settle();
      }
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
    RequireThere();
  }

  DatabaseLocation location_;
  Database::Access access_ = Database::Access::kReadWrite;
  bool is_opened_ = false;
  std::optional<KeptFile> file_;  // until the session is closed
  const Dialect& dialect_;
  int depth_ = 0;        // of write transactions
  bool undone_ = false;  // something that the transaction stored
  Writing writing_ = Writing::kAlone;
  int reads_inside_ = 0;  // the write transaction
  int longest_wait_ = 0;  // milliseconds, where it was set
  std::vector<TableDescription> tables_;
  std::vector<Refused> unanswered_;      // of what was sent ahead
  std::optional<RefusedAhead> refused_;  // the first of it, which nobody has been told yet
  Refused says_;                         // why
  soci::session session_;
  KeptStatements kept_;  // of the session
  std::optional<KeptFile::Locks> locks_;
};

}  // namespace mox
