#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "appserver/database.h"
#include "moxd/accounts.h"
#include "moxd/directory_schema.h"
#include "moxd/passwords.h"

namespace mox {

struct Accounts::State {
  std::string location;
  AccountSettings settings;
  UnixClock now;
  std::string unknown_password;
  std::optional<Database> database;
  std::optional<Statement> find_session;  // of `database`

  PasswordCost Cost() const { return {settings.password_passes, settings.password_memory}; }

  /// Runs an action with the open database. One that failed is opened anew by the next call, as after a
  /// restart of the database server.
  template <typename Action>
  auto With(const Action& action) -> decltype(action(std::declval<Database&>())) {
    try {
      if (!database) database.emplace(location, DirectorySchema());
      return action(*database);
    } catch (const DatabaseUnavailable&) {
      find_session.reset();
      database.reset();
      throw;
    }
  }
  template <typename Action>
  void Change(const UserChange& change, std::string_view user, const std::string& what, const Action& action);

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
};

/// The key of the account of that name; nothing where there is none, whatever the text.
std::optional<std::int64_t> FindAccount(Database& database, std::string_view name);
/// The same; raises Error where there is none.
std::int64_t RequireAccount(Database& database, std::string_view name);
/// Ends the log-ins of an account, and answers how many there were.
std::int64_t EndTokens(Database& database, std::int64_t account);
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
