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

// Journals a change. False where it was carried out under its key before.
bool Note(Database& database, const UserChange& change, std::string_view user, const std::string& what,
          UnixSeconds now) {
  const Value key = change.key.empty() ? Value() : Value(change.key);
  if (!change.key.empty()) {
    const RecordSet before = database.Query(
        "dnevnik", ParseColumns("tko,poduzece,korisnik,promjena"),
        "SELECT tko, poduzece, korisnik, promjena FROM imenik_dnevnik WHERE kljuc = :kljuc", {key});
    if (!before.IsEmpty()) {
      const bool same = before.AsTextView(0) == change.by && before.AsTextView(1) == change.company &&
                        before.AsTextView(2) == user && before.AsTextView(3) == what;
      if (same) return false;
      throw KeyReused("the key is that of another request");
    }
  }
  const std::string insert =
      "INSERT INTO imenik_dnevnik (vrijeme, tko, poduzece, korisnik, promjena, kljuc) "
      "VALUES (:vrijeme, :tko, :poduzece, :korisnik, :promjena, :kljuc)";
  const Value values[] = {now, change.by, change.company, std::string(user), what, key};
  database.PrepareWith(insert, values).Execute();
  return true;
}

}  // namespace

std::vector<CompanyUser> Accounts::UsersOf(std::string_view company) {
  return state_->With([&](Database& database) {
    const UnixSeconds now = state_->now();
    const RecordSet rows =
        database.Query("korisnici", ParseColumns("ime,oznaka,iskljucen:boolean,uloga,prijava:integer"), R"(
SELECT k.ime, k.oznaka, k.iskljucen, u.uloga,
  (SELECT COUNT(*) FROM imenik_tokeni t
   WHERE t.korisnik_id = k.id AND t.vrijedi_do > :sada AND t.koristen > :koristen)
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
                         row.AsInteger(4)});
      }
      users.back().roles.push_back(role);
    }
    for (CompanyUser& user : users) std::sort(user.roles.begin(), user.roles.end());
    return users;
  });
}

// All of the action and its line in the journal, or nothing.
template <typename Action>
void Accounts::State::Change(const UserChange& change, std::string_view user, const std::string& what,
                             const Action& action) {
  With([&](Database& opened) {
    WriteTransaction transaction(opened);
    const std::int64_t company = RequireCompany(opened, change.company);
    const std::int64_t account = RequireAccount(opened, user);
    if (!Note(opened, change, user, what, now())) return;
    action(opened, account, company);
    if (!change.rehearses) transaction.Commit();
  });
}

void Accounts::ChangeRoles(const UserChange& change, std::string_view user,
                           const std::vector<const Role*>& roles,
                           const std::optional<std::vector<const Role*>>& known) {
  const auto store = [&](Database& database, std::int64_t account, std::int64_t company) {
    const std::vector<const Role*> before = RolesOf(database, account, company);
    if (known && *known != before) {
      throw Error(InQuotes(user) + " was changed by somebody else since it was read: " + TextOf(before));
    }
    StoreRoles(database, account, company, roles);
    RequireAdministrator(database, company);
  };
  state_->Change(change, user, "uloge: " + TextOf(roles), store);
}

void Accounts::EndLogIns(const UserChange& change, std::string_view user) {
  const auto end = [&](Database& database, std::int64_t account, std::int64_t company) {
    // Who has no role here is somebody of others.
    if (RolesOf(database, account, company).empty()) throw Error("there is no user " + InQuotes(user));
    EndTokens(database, account);
  };
  state_->Change(change, user, "prijave prekinute", end);
}

std::vector<JournalledChange> Accounts::Journal() {
  return state_->With([](Database& database) {
    const RecordSet rows = database.Query(
        "dnevnik", ParseColumns("vrijeme:integer,tko,poduzece,korisnik,promjena"),
        "SELECT vrijeme, tko, poduzece, korisnik, promjena FROM imenik_dnevnik ORDER BY id DESC");
    std::vector<JournalledChange> changes;
    changes.reserve(rows.RowCount());
    for (const RecordRow& row : rows.Rows()) {
      changes.push_back({row.AsInteger(0), row.AsText(1), row.AsText(2), row.AsText(3), row.AsText(4)});
    }
    return changes;
  });
}

}  // namespace mox
