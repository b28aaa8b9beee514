#pragma once

#include <functional>
#include <string>
#include <utility>

#include "appserver/database.h"
#include "appserver/dialect.h"
#include "appserver/soci_headers.h"

namespace mox {

/// An open connection. Whatever the database refuses becomes a DatabaseError that names the file.
class DatabaseConnection {
 public:
  using Open = std::function<void(soci::session& session)>;

  DatabaseConnection(std::string path, const Open& open) : path_(std::move(path)) {
    Run([&] { open(session_); });
  }

  const std::string& path() const { return path_; }
  soci::session& session() { return session_; }
  static const Dialect& dialect() { return SqliteDialect(); }

  /// Runs an action that talks to the database.
  template <typename Action>
  auto Run(const Action& action) -> decltype(action()) {
    try {
      return action();
    } catch (const soci::soci_error& error) {
      const std::string reason = dialect().Explain(error, session_, path_);
      if (dialect().IsFailure(error)) throw DatabaseUnavailable(path_ + ": " + reason);
      Refuse(reason);
    }
  }
  /// Runs one statement without values.
  void Execute(std::string_view sql) {
    Run([&] { session_ << sql; });
  }
  [[noreturn]] void Refuse(const std::string& reason) const { throw DatabaseError(path_ + ": " + reason); }

  void WaitAtMost(int milliseconds) {
    longest_wait_ = milliseconds;
    dialect().SetLongestWait(session_, longest_wait_);
  }
  void BeginRead() { Execute(dialect().BeginRead()); }
  void BeginWrite() { Execute(dialect().BeginWrite()); }
  void Commit() { Execute("COMMIT"); }
  /// Also where the engine has ended the transaction by itself, as it does when the disk is full.
  void RollBack() noexcept {
    try {
      session_ << "ROLLBACK";
    } catch (const soci::soci_error&) {
      return;
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

 private:
  std::string path_;
  int longest_wait_ = 0;  // milliseconds, where it was set
  soci::session session_;
};

}  // namespace mox
