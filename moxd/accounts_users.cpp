// The users of one company, as its administrators see and change them.

#include <algorithm>

#include "appserver/requester.h"
#include "mox/foundation/visible_text.h"
#include "moxd/accounts_internal.h"

namespace mox {
namespace {

std::string TextOf(const std::vector<const Role*>& roles) {
  std::string text;
  for (const Role* const role : roles) text.append(text.empty() ? "" : ", ").append(role->name);
  return text.empty() ? "-" : text;
}

std::vector<const Role*> RolesOf(Database& database, std::int64_t account, std::int64_t company) {
  const RecordSet rows = database.Query(
      "uloge", ParseColumns("uloga"),
      "SELECT uloga FROM imenik_uloge WHERE korisnik_id = :korisnik AND poduzece_id = :poduzece",
      {account, company});
  std::vector<const Role*> roles;
  for (const RecordRow& row : rows.Rows()) {
    if (const Role* const role = FindRole(row.AsTextView(0))) roles.push_back(role);
  }
  std::sort(roles.begin(), roles.end());
  return roles;
}

void RequireAdministrator(Database& database, std::int64_t company) {
  const RecordSet found =
      database.Query("upravitelji", ParseColumns("broj:integer"),
                     "SELECT COUNT(*) FROM imenik_uloge u JOIN imenik_korisnici k ON k.id = u.korisnik_id "
                     "WHERE u.poduzece_id = :poduzece AND u.uloga = :uloga AND NOT k.iskljucen",
                     {company, std::string(Roles()[static_cast<std::size_t>(Right::kAdminister)].code)});
  if (found.AsInteger(0) == 0) throw Error("nobody would administer the company any more");
}

bool HasRolesElsewhere(Database& database, std::int64_t account, std::int64_t company) {
  const RecordSet found = database.Query(
      "drugdje", ParseColumns("broj:integer"),
      "SELECT COUNT(*) FROM imenik_uloge WHERE korisnik_id = :korisnik AND poduzece_id <> :poduzece",
      {account, company});
  return found.AsInteger(0) > 0;
}

DirectoryChange DirectoryChangeOf(const UserChange& change, std::string_view user, std::string what,
                                  const char* transaction) {
  return {change.by,   change.company, std::string(user), std::move(what),
          transaction, change.key,     change.request,    change.rehearses};
}

}  // namespace

std::string RolesChange(const std::vector<const Role*>& roles) { return "uloge: " + TextOf(roles); }

std::vector<CompanyUser> Accounts::UsersOf(std::string_view company) {
  return state_->With([&](Database& database) {
    const UnixSeconds now = state_->now();
    const RecordSet rows =
        database.Query("korisnici",
                       ParseColumns("ime,oznaka,iskljucen:boolean,uloga,prijava:integer,"
                                    "drugdje:integer"),
                       R"(
SELECT k.ime, k.oznaka, k.iskljucen, u.uloga,
  (SELECT COUNT(*) FROM imenik_tokeni t
   WHERE t.korisnik_id = k.id AND t.vrijedi_do > :sada AND t.koristen > :koristen),
  (SELECT COUNT(*) FROM imenik_uloge d WHERE d.korisnik_id = k.id AND d.poduzece_id <> u.poduzece_id)
FROM imenik_uloge u JOIN imenik_korisnici k ON k.id = u.korisnik_id
WHERE u.poduzece_id = :poduzece ORDER BY fold(k.ime), u.uloga)",
                       {now, now - state_->settings.idle_time, RequireCompany(database, company)});
    std::vector<CompanyUser> users;
    for (const RecordRow& row : rows.Rows()) {
      const Role* const role = FindRole(row.AsTextView(3));
      if (role == nullptr) continue;
      if (users.empty() || users.back().name != row.AsTextView(0)) {
        users.push_back({std::string(row.AsTextView(0)),
                         std::string(row.AsTextView(1)),
                         row.AsBoolean(2),
                         {},
                         row.AsInteger(5) > 0 ? std::nullopt : std::optional(row.AsInteger(4))});
      }
      users.back().roles.push_back(role);
    }
    for (CompanyUser& user : users) std::sort(user.roles.begin(), user.roles.end());
    return users;
  });
}

void Accounts::ChangeRoles(const UserChange& change, std::string_view user,
                           const std::vector<const Role*>& roles,
                           const std::optional<std::vector<const Role*>>& known) {
  const auto store = [&](Database& database) {
    const std::int64_t company = RequireCompany(database, change.company);
    const auto account = FindAccount(database, user);
    const std::vector<const Role*> before =
        account ? RolesOf(database, *account, company) : std::vector<const Role*>();
    // Tried, whoever is there and whoever is not looks the same.
    if (change.rehearses && before.empty()) {
      throw Error(InQuotes(user) +
                  " has no role here yet; whether there is such a user is told when the roles are stored");
    }
    if (known && *known != before) {
      throw Error(InQuotes(user) + " was changed by somebody else since it was read: " + TextOf(before));
    }
    const std::int64_t id = RequireAccount(database, user);
    StoreRoles(database, id, company, roles);
    RequireAdministrator(database, company);
  };
  state_->Once(DirectoryChangeOf(change, user, RolesChange(roles), kRolesTransaction), store);
}

void Accounts::EndLogIns(const UserChange& change, std::string_view user) {
  const auto end = [&](Database& database) {
    const std::int64_t company = RequireCompany(database, change.company);
    const std::int64_t account = RequireAccount(database, user);
    // Who has no role here is somebody of others.
    if (RolesOf(database, account, company).empty()) throw Error("there is no user " + InQuotes(user));
    if (HasRolesElsewhere(database, account, company)) {
      throw Error(InQuotes(user) +
                  " is a user of other companies, too; his log-ins are ended by who runs the server "
                  "(moxd token revoke)");
    }
    EndTokens(database, account);
  };
  state_->Once(DirectoryChangeOf(change, user, kLogInsEnded, kLogInsTransaction), end);
}

}  // namespace mox
