#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "appserver/database.h"
#include "appserver/requester.h"
#include "moxd/accounts.h"
#include "moxd/directory_schema.h"
#include "moxd/passwords.h"

namespace mox {

/// A change of the directory, as its journal has it.
struct DirectoryChange {
  std::string by = {};
  std::string company = {};
  std::string user = {};
  std::string change = {};
  /// Of a change of a company's users, which its own journal gets, too; empty for others.
  std::string transaction = {};
  std::string key = {};
  std::string request = {};
  bool rehearses = false;
};

/// Whether it was made before under its key. Raises the Error that refused it then, and KeyReused.
bool WasMade(Database& database, const DirectoryChange& change);
/// Journals one that is made, or why it is refused, without the passwords of addresses.
void Note(Database& database, const DirectoryChange& change, UnixSeconds now, std::string_view refused = {});

/// Journals a log-in, a log-out or an attempt, and forgets those that are no longer kept.
void NoteLogIn(Database& database, const JournalledLogIn& log_in, const AccountSettings& settings);

/// Sessions as they were found in a directory that is a file, while nobody changes it: to find one costs more
/// than a small read.
struct KnownSession {
  AccountSession session;
  UnixSeconds from = 0;  ///< and to: when it need not be looked up
  UnixSeconds to = 0;
};
struct KnownSessions {
  std::optional<Statement> ask_version;
  std::int64_t version = 0;  ///< that others change
  std::map<std::string, KnownSession, std::less<>> sessions;
};

struct Accounts::State {
  std::string location;
  AccountSettings settings;
  UnixClock now;
  std::string unknown_password;
  std::string by;  // who administers
  std::optional<Database> database;
  std::optional<Statement> find_session;  // of `database`
  RecordSet found_sessions;               // of the last one who asked
  UnixSeconds notes_use_from = 0;         // when a token was used, after that could not be noted
  KnownSessions known;                    // of `database`

  std::optional<KnownSession> FindSession(Database& opened, const std::string& digest,
                                          const std::string& company, UnixSeconds at);
  void Close() {
    known = {};
    find_session.reset();
    database.reset();
  }
  /// A file that another one has taken the place of, as where it was restored, is the directory no more.
  void CloseWhatIsGone() {
    try {
      if (database) database->RequireThere();
    } catch (const CompanyGone&) {
      Close();
    }
  }

  PasswordCost Cost() const { return {settings.password_passes, settings.password_memory}; }

  /// Runs an action with the open database. One that failed is opened anew by the next call, as after a
  /// restart of the database server.
  template <typename Action>
  auto With(const Action& action) -> decltype(action(std::declval<Database&>())) {
    known.sessions.clear();  // which the action may change
    return Look(action);
  }
  /// The same for one that changes nothing.
  template <typename Action>
  auto Look(const Action& action) -> decltype(action(std::declval<Database&>())) {
    try {
      CloseWhatIsGone();
      if (!database) database.emplace(location, DirectorySchema());
      return action(*database);
    } catch (const CompanyGone& error) {
      Close();
      throw DatabaseUnavailable(error.what());  // a directory is not moved while it is in use
    } catch (const DatabaseUnavailable&) {
      Close();
      throw;
    }
  }

  /// All of the action, or nothing.
  template <typename Action>
  auto Write(const Action& action) -> decltype(action(std::declval<Database&>())) {
    return With([&](Database& opened) {
      WriteTransaction transaction(opened);
      if constexpr (std::is_void_v<decltype(action(opened))>) {
        action(opened);
        transaction.Commit();
      } else {
        auto answer = action(opened);
        transaction.Commit();
        return answer;
      }
    });
  }

  /// All of the action and its line in the journal, or why it was refused. `prepare` checks what needs no
  /// database, before.
  template <typename Prepare, typename Action>
  auto Change(DirectoryChange change, const Prepare& prepare, const Action& action)
      -> decltype(action(std::declval<Database&>())) {
    if (change.by.empty()) change.by = by;
    try {
      prepare();
      return Write([&](Database& opened) {
        Note(opened, change, now());
        return action(opened);
      });
    } catch (const DatabaseUnavailable&) {
      throw;
    } catch (const Error& error) {
      TryToNote(change, error.what());
      throw;
    }
  }
  template <typename Action>
  auto Change(DirectoryChange change, const Action& action) -> decltype(action(std::declval<Database&>())) {
    return Change(
        std::move(change), [] {}, action);
  }
  /// One that is asked for over the network, once under its key, or only tried.
  template <typename Action>
  void Once(const DirectoryChange& change, const Action& action) {
    try {
      With([&](Database& opened) {
        WriteTransaction transaction(opened);
        if (WasMade(opened, change)) return;
        action(opened);
        Note(opened, change, now());
        if (!change.rehearses) transaction.Commit();
      });
    } catch (const DatabaseUnavailable&) {
      throw;
    } catch (const KeyReused&) {
      throw;
    } catch (const Error& error) {
      if (change.rehearses) throw;
      if (change.key.empty()) {
        TryToNote(change, error.what());
        throw;
      }
      // The same request may have been made meanwhile.
      const UnixSeconds at = now();
      const bool was_made = Write([&](Database& opened) {
        if (WasMade(opened, change)) return true;
        Note(opened, change, at, error.what());
        return false;
      });
      if (!was_made) throw;
    }
  }
  /// Journals what was refused. Where that fails, the refusal is what is to be told.
  void TryToNote(const DirectoryChange& change, std::string_view why) {
    try {
      Write([&](Database& opened) { Note(opened, change, now(), why); });
    } catch (const DatabaseError&) {
      return;
    }
  }
};

/// Failed attempts under a name of an account.
void ForgetAttempts(Database& database, std::string_view user);
/// The key of the account of that name; nothing where there is none, whatever the text.
std::optional<std::int64_t> FindAccount(Database& database, std::string_view name);
/// The same; raises Error where there is none.
std::int64_t RequireAccount(Database& database, std::string_view name);
/// Ends the log-ins of an account, and answers how many there were.
std::int64_t EndTokens(Database& database, std::int64_t account);
/// What the journal says of roles that are given, by which transaction, and of log-ins that are ended.
std::string RolesChange(const std::vector<const Role*>& roles);
inline constexpr const char* kRolesTransaction = "KorisnikUlogeUpis";
inline constexpr const char* kLogInsTransaction = "KorisnikPrijaveKraj";
inline constexpr const char* kLogInsEnded = "prijave prekinute";
/// The roles of an account in a company, in the place of those that it had.
void StoreRoles(Database& database, std::int64_t account, std::int64_t company,
                const std::vector<const Role*>& roles);
/// The key of the company of that name.
std::optional<std::int64_t> FindCompany(Database& database, std::string_view name);
/// The same; raises Error where there is none.
std::int64_t RequireCompany(Database& database, std::string_view name);

/// Raises Error for a text that is empty, too long, or not as people see it, since names stand in logs and on
/// screens.
void RequireText(std::string_view what, std::string_view text, std::size_t longest);

/// Raises Error for a company that no directory takes.
void RequireCompany(const CompanyInfo& company);

}  // namespace mox
