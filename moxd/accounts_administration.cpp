#include <algorithm>
#include <map>
#include <optional>

#include "appserver/fold.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "moxd/accounts_internal.h"

namespace mox {
namespace {

constexpr std::size_t kLongestUser = 64;
constexpr std::size_t kLongestCode = 5;
constexpr std::size_t kShortestPassword = 8;
constexpr std::size_t kLongestPassword = 1024;

void RequirePassword(std::string_view password) {
  if (password.size() >= kShortestPassword && password.size() <= kLongestPassword) return;
  throw Error("a password has " + std::to_string(kShortestPassword) + " to " +
              std::to_string(kLongestPassword) + " bytes");
}

// "ana.horvat" is ANA.H in documents.
std::string CodeOf(std::string_view name) {
  std::string code(CutToCharacters(name, kLongestCode));
  for (char& c : code) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  }
  return std::string(TrimBlanks(code));
}

std::optional<std::string> UserOfCode(Database& database, std::string_view code) {
  const RecordSet found =
      database.Query("korisnik", ParseColumns("ime"),
                     "SELECT ime FROM imenik_korisnici WHERE fold(oznaka) = :oznaka", {FoldKey(code)});
  return found.IsEmpty() ? std::nullopt : std::optional(found.AsText(0));
}

// Documents and links that wait know a user by the code alone: the second ANA.H is ANA.2.
std::string FreeCodeOf(Database& database, std::string_view name) {
  const std::string plain = CodeOf(name);
  std::string code = plain;
  for (int number = 2; UserOfCode(database, code); ++number) {
    const std::string digits = std::to_string(number);
    code = std::string(TrimBlanks(CutToCharacters(plain, kLongestCode - digits.size()))) + digits;
  }
  return code;
}

void RequireFree(Database& database, std::string_view code) {
  if (const auto user = UserOfCode(database, code))
    throw Error("the code " + InQuotes(code) + " is that of the user " + InQuotes(*user));
}

}  // namespace

std::int64_t RequireAccount(Database& database, std::string_view name) {
  const auto id = FindAccount(database, name);
  if (!id) throw Error("there is no user " + InQuotes(name));
  return *id;
}

std::int64_t EndTokens(Database& database, std::int64_t account) {
  return database.Execute("DELETE FROM imenik_tokeni WHERE korisnik_id = :id", {account});
}

// --- users ---

std::string Accounts::AddUser(std::string_view name, std::string_view password, std::string_view code) {
  std::string kept;
  const auto prepare = [&] {
    RequireText("the user", name, kLongestUser);
    RequirePassword(password);
    if (!code.empty()) RequireText("the code", code, kLongestCode);
    kept = HashPassword(password, state_->Cost());
  };
  return state_->Change({.user = std::string(name), .change = "otvoren"}, prepare, [&](Database& database) {
    if (FindAccount(database, name)) throw Error("there is a user " + InQuotes(name) + " already");
    if (!code.empty()) RequireFree(database, code);
    const std::string own = code.empty() ? FreeCodeOf(database, name) : std::string(code);
    database.Execute(
        "INSERT INTO imenik_korisnici (ime, oznaka, lozinka, iskljucen, stvoren) "
        "VALUES (:ime, :oznaka, :lozinka, :iskljucen, :stvoren)",
        {std::string(name), own, kept, false, state_->now()});
    return own;
  });
}

void Accounts::SetPassword(std::string_view name, std::string_view password) {
  std::string kept;
  const auto prepare = [&] {
    RequirePassword(password);
    kept = HashPassword(password, state_->Cost());
  };
  state_->Change({.user = std::string(name), .change = "nova lozinka"}, prepare, [&](Database& database) {
    const std::int64_t id = RequireAccount(database, name);
    database.Execute("UPDATE imenik_korisnici SET lozinka = :lozinka WHERE id = :id", {kept, id});
    EndTokens(database, id);
    ForgetAttempts(database, name);
  });
}

void Accounts::SetDisabled(std::string_view name, bool disabled) {
  const char* const what = disabled ? "isključen" : "ponovo uključen";
  state_->Change({.user = std::string(name), .change = what}, [&](Database& database) {
    const std::int64_t id = RequireAccount(database, name);
    database.Execute("UPDATE imenik_korisnici SET iskljucen = :iskljucen WHERE id = :id", {disabled, id});
    if (disabled) EndTokens(database, id);
    ForgetAttempts(database, name);
  });
}

std::vector<UserInfo> Accounts::Users() {
  return state_->With([](Database& database) {
    const RecordSet rows =
        database.Query("korisnici", ParseColumns("ime,oznaka,iskljucen:boolean,stvoren:integer"),
                       "SELECT ime, oznaka, iskljucen, stvoren FROM imenik_korisnici ORDER BY fold(ime)");
    std::vector<UserInfo> users;
    for (const RecordRow& row : rows.Rows()) {
      users.push_back({std::string(row.AsTextView(0)), std::string(row.AsTextView(1)), row.AsBoolean(2),
                       row.AsInteger(3)});
    }
    return users;
  });
}

// --- roles ---

void StoreRoles(Database& database, std::int64_t account, std::int64_t company,
                const std::vector<const Role*>& roles) {
  database.Execute("DELETE FROM imenik_uloge WHERE korisnik_id = :korisnik AND poduzece_id = :poduzece",
                   {account, company});
  for (const Role& role : Roles()) {
    if (std::find(roles.begin(), roles.end(), &role) == roles.end()) continue;
    database.Execute(
        "INSERT INTO imenik_uloge (korisnik_id, poduzece_id, uloga) VALUES (:korisnik, :poduzece, :uloga)",
        {account, company, std::string(role.code)});
  }
}

void Accounts::Grant(std::string_view user, std::string_view company, const std::vector<const Role*>& roles) {
  DirectoryChange change{.company = std::string(company),
                         .user = std::string(user),
                         .change = RolesChange(roles),
                         .transaction = kRolesTransaction};
  state_->Change(std::move(change), [&](Database& database) {
    StoreRoles(database, RequireAccount(database, user), RequireCompany(database, company), roles);
  });
}

std::vector<GrantInfo> Accounts::Grants() {
  return state_->With([](Database& database) {
    const RecordSet rows = database.Query("uloge", ParseColumns("ime,naziv,uloga"), R"(
SELECT k.ime, p.naziv, u.uloga
FROM imenik_uloge u
JOIN imenik_korisnici k ON k.id = u.korisnik_id
JOIN imenik_poduzeca p ON p.id = u.poduzece_id
ORDER BY fold(k.ime), fold(p.naziv), u.uloga)");
    std::vector<GrantInfo> grants;
    for (const RecordRow& row : rows.Rows()) {
      const Role* const role = FindRole(row.AsTextView(2));
      if (role == nullptr) continue;
      const bool another = grants.empty() || grants.back().user != row.AsTextView(0) ||
                           grants.back().company != row.AsTextView(1);
      if (another) grants.push_back({std::string(row.AsTextView(0)), std::string(row.AsTextView(1)), {}});
      grants.back().roles.push_back(role);
    }
    for (GrantInfo& grant : grants) std::sort(grant.roles.begin(), grant.roles.end());
    return grants;
  });
}

// --- tokens ---

std::vector<TokenInfo> Accounts::Tokens() {
  return state_->With([&](Database& database) {
    const UnixSeconds now = state_->now();
    const RecordSet rows = database.Query(
        "tokeni", ParseColumns("id:integer,ime,izdan:integer,koristen:integer,vrijedi_do:integer,adresa"), R"(
SELECT t.id, k.ime, t.izdan, t.koristen, t.vrijedi_do, t.adresa
FROM imenik_tokeni t JOIN imenik_korisnici k ON k.id = t.korisnik_id
WHERE t.vrijedi_do > :sada AND t.koristen > :koristen ORDER BY fold(k.ime), t.id)",
        {now, now - state_->settings.idle_time});
    std::vector<TokenInfo> tokens;
    for (const RecordRow& row : rows.Rows()) {
      tokens.push_back({row.AsInteger(0), std::string(row.AsTextView(1)), row.AsInteger(2), row.AsInteger(3),
                        row.AsInteger(4), std::string(row.AsTextView(5))});
    }
    return tokens;
  });
}

void Accounts::RevokeToken(std::int64_t id) {
  const std::string number = std::to_string(id);
  state_->Change({.change = "prijava " + number + " prekinuta"}, [&](Database& database) {
    if (database.Execute("DELETE FROM imenik_tokeni WHERE id = :id", {id}) == 0) {
      throw Error("there is no token " + number);
    }
  });
}

std::int64_t Accounts::RevokeTokensOf(std::string_view user) {
  return state_->Change(
      {.user = std::string(user), .change = std::string(kLogInsEnded)},
      [&](Database& database) { return EndTokens(database, RequireAccount(database, user)); });
}

}  // namespace mox
