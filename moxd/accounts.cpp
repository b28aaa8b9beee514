#include "moxd/accounts.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <utility>

#include "appserver/fold.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "moxd/accounts_internal.h"

namespace mox {
namespace {

constexpr std::int64_t kDay = std::int64_t{24} * 3600;
constexpr std::int64_t kShortestWait = 2;
constexpr std::int64_t kUseNotedEach = 60;  // seconds
// What is later than now by more is of a clock that was wrong, and counts for nothing.
constexpr std::int64_t kClockFault = 300;

// --- failed attempts ---

// Under which attempts are counted. What was typed as a name may be a password, so it is not kept.
std::string AccountKey(std::string_view user) { return DigestOf("account:" + FoldKey(user)); }

// Who has an IPv6 network of 64 bits has all of its addresses.
std::string AddressKey(std::string_view remote_address) {
  constexpr std::array<unsigned char, 12> kMappedIpv4 = {0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF};
  std::array<unsigned char, sizeof(in6_addr)> bytes{};
  const std::string text(remote_address);
  std::string_view counted = text;
  if (inet_pton(AF_INET6, text.c_str(), bytes.data()) == 1) {
    const char* const begin = reinterpret_cast<const char*>(bytes.data());
    const bool mapped = std::equal(kMappedIpv4.begin(), kMappedIpv4.end(), bytes.begin());
    counted = mapped ? std::string_view(begin + kMappedIpv4.size(), 4) : std::string_view(begin, 8);
  } else if (inet_pton(AF_INET, text.c_str(), bytes.data()) == 1) {
    counted = {reinterpret_cast<const char*>(bytes.data()), 4};
  }
  return DigestOf("address:" + std::string(counted));
}

std::string ShownAddress(std::string_view remote_address) {
  constexpr std::size_t kMost = 64;
  const std::string shown = VisibleText(remote_address);
  return std::string(CutToCharacters(shown, kMost));
}

struct Attempts {
  std::int64_t failed = 0;
  UnixSeconds waits_until = 0;
};

Attempts ReadAttempts(Database& database, const std::string& key, UnixSeconds now) {
  const RecordSet found = database.Query("pokusaji", ParseColumns("neuspjelih:integer,ceka_do:integer"),
                                         "SELECT neuspjelih, ceka_do FROM imenik_pokusaji "
                                         "WHERE sazetak = :sazetak AND zadnji > :od AND zadnji <= :do",
                                         {key, now - kDay, now + kClockFault});
  return found.IsEmpty() ? Attempts{} : Attempts{found.AsInteger(0), found.AsInteger(1)};
}

std::int64_t WaitOf(Database& database, const std::string& account, const std::string& address,
                    UnixSeconds now) {
  const UnixSeconds until = std::max(ReadAttempts(database, account, now).waits_until,
                                     ReadAttempts(database, address, now).waits_until);
  return std::max<std::int64_t>(until - now, 0);
}

void NoteFailure(Database& database, const std::string& key, std::int64_t free, std::int64_t longest_wait,
                 UnixSeconds now) {
  const std::int64_t failed = ReadAttempts(database, key, now).failed + 1;
  std::int64_t wait = failed > free ? kShortestWait : 0;
  for (std::int64_t i = free + 1; i < failed && wait < longest_wait; ++i) wait *= 2;
  database.Execute(
      "INSERT INTO imenik_pokusaji (sazetak, neuspjelih, zadnji, ceka_do) "
      "VALUES (:sazetak, :neuspjelih, :zadnji, :ceka_do) "
      "ON CONFLICT (sazetak) DO UPDATE SET neuspjelih = excluded.neuspjelih, zadnji = excluded.zadnji, "
      "ceka_do = excluded.ceka_do",
      {key, failed, now, now + std::min(wait, longest_wait)});
}

// --- what is known of an account and of a token ---

struct Account {
  std::int64_t id = 0;
  std::string name;
  std::string password;
  bool disabled = false;
};

// None has no key.
Account ReadAccount(Database& database, std::string_view user) {
  const auto id = FindAccount(database, user);
  if (!id) return {};
  const RecordSet row =
      database.Query("korisnik", ParseColumns("ime,lozinka,iskljucen:boolean"),
                     "SELECT ime, lozinka, iskljucen FROM imenik_korisnici WHERE id = :id", {*id});
  return {*id, row.AsText(0), row.AsText(1), row.AsBoolean(2)};
}

const char* WhyRefused(const Account& account) {
  if (account.id == 0) return "odbijeno: nema takvog korisnika";
  return account.disabled ? "odbijeno: korisnik je isključen" : "odbijeno: kriva lozinka";
}

constexpr std::string_view kFindSession = R"(
SELECT t.id, t.koristen, t.vrijedi_do, k.ime, k.oznaka, p.adresa, u.uloga,
  CASE WHEN EXISTS (SELECT 1 FROM imenik_dnevnik d WHERE d.za_poduzece = p.id) THEN 1 ELSE 0 END
FROM imenik_tokeni t
JOIN imenik_korisnici k ON k.id = t.korisnik_id
LEFT JOIN imenik_poduzeca p ON fold(p.naziv) = :poduzece
LEFT JOIN imenik_uloge u ON u.korisnik_id = k.id AND u.poduzece_id = p.id
WHERE t.sazetak = :sazetak AND t.vrijedi_do > :sada AND t.koristen > :koristen AND t.koristen <= :najkasnije
  AND t.izdan <= :najkasnije AND NOT k.iskljucen)";

RecordSet SessionRows() {
  RecordSet rows("sesija");
  for (FieldDef& column :
       ParseColumns("id:integer,koristen:integer,vrijedi_do:integer,ime,oznaka,adresa,uloga,ceka:integer")) {
    rows.DefineField(std::move(column));
  }
  rows.Open();
  return rows;
}

// Nobody's request waits for it, or fails with it: false where it is to be tried again later.
bool NoteUse(Database& database, std::int64_t token, UnixSeconds now) {
  constexpr int kMilliseconds = 20;
  const auto note = [&] {
    database.WaitAtMost(kMilliseconds);
    database.Execute("UPDATE imenik_tokeni SET koristen = :sada WHERE id = :id AND koristen < :sada",
                     {now, token});
    return true;
  };
  const auto noted = [&] {
    try {
      return note();
    } catch (const DatabaseError&) {
      return false;
    }
  }();
  database.WaitAtMost(Database::kLongestWait);
  return noted;
}

// Whether they are those of now. A connection to a file hears from the engine when others have changed it.
bool KeepsSessions(Database& database, KnownSessions& known) {
  if (!database.location().IsFile()) return false;
  if (!known.ask_version) known.ask_version = database.Prepare("PRAGMA data_version", {});
  const std::int64_t version = known.ask_version->ExecuteForKey();
  if (std::exchange(known.version, version) != version) known.sessions.clear();
  return true;
}

// A name as databases compare it; empty for what none of them holds.
std::string NameKey(std::string_view name) {
  const bool held = name.find('\0') == std::string_view::npos && IsValidUtf8(name);
  return held ? FoldKey(name) : std::string();
}

std::optional<std::int64_t> FindKey(Database& database, std::string_view sql, std::string_view name) {
  const std::string key = NameKey(name);
  if (key.empty()) return std::nullopt;
  const RecordSet found = database.Query("kljuc", ParseColumns("id:integer"), sql, {key});
  return found.IsEmpty() ? std::nullopt : std::optional(found.AsInteger(0));
}

}  // namespace

UnixSeconds SystemSeconds() {
  return std::chrono::duration_cast<std::chrono::seconds>(std::chrono::system_clock::now().time_since_epoch())
      .count();
}

void ForgetAttempts(Database& database, std::string_view user) {
  database.Execute("DELETE FROM imenik_pokusaji WHERE sazetak = :sazetak", {AccountKey(user)});
}

std::optional<std::int64_t> FindAccount(Database& database, std::string_view name) {
  return FindKey(database, "SELECT id FROM imenik_korisnici WHERE fold(ime) = :ime", name);
}

std::optional<std::int64_t> FindCompany(Database& database, std::string_view name) {
  return FindKey(database, "SELECT id FROM imenik_poduzeca WHERE fold(naziv) = :naziv", name);
}

void Accounts::Create(const std::string& location) { Database::Create(location, DirectorySchema()); }

Accounts::Accounts(const std::string& location, AccountSettings settings, UnixClock clock)
    : state_(std::make_unique<State>()) {
  state_->location = location;
  state_->settings = settings;
  state_->now = std::move(clock);
  state_->unknown_password = UnknownPassword(state_->Cost());
  state_->With([](Database&) {});
}

Accounts::~Accounts() = default;
Accounts::Accounts(Accounts&&) noexcept = default;
Accounts& Accounts::operator=(Accounts&&) noexcept = default;

LogInResult Accounts::LogIn(std::string_view user, std::string_view password,
                            std::string_view remote_address) {
  using Outcome = LogInResult::Outcome;
  const std::string account_key = AccountKey(user);
  const std::string address_key = AddressKey(remote_address);
  Account account;
  const std::int64_t wait = state_->With([&](Database& database) {
    account = ReadAccount(database, user);
    return WaitOf(database, account_key, address_key, state_->now());
  });
  if (wait > 0) return {.outcome = Outcome::kWait, .wait_seconds = wait};

  const bool known = account.id != 0;
  const bool right = IsPassword(known ? account.password : state_->unknown_password, password) && known;
  const bool renew = right && HasOtherCost(account.password, state_->Cost());
  const std::string renewed = renew ? HashPassword(password, state_->Cost()) : std::string();
  const std::string token = NewToken();

  // Those that were tried meanwhile count: of many guesses at once no more are answered than one by one.
  return state_->Write([&](Database& database) -> LogInResult {
    const AccountSettings& settings = state_->settings;
    const UnixSeconds now = state_->now();
    if (const auto waits = WaitOf(database, account_key, address_key, now); waits > 0) {
      return {.outcome = Outcome::kWait, .wait_seconds = waits};
    }
    const Account still = ReadAccount(database, user);
    if (!right || still.disabled || still.id != account.id || still.password != account.password) {
      NoteFailure(database, account_key, settings.free_attempts_of_account, settings.longest_wait, now);
      NoteFailure(database, address_key, settings.free_attempts_of_address, settings.longest_wait, now);
      database.Execute("DELETE FROM imenik_pokusaji WHERE zadnji <= :do", {now - kDay});
      NoteLogIn(database, {now, still.name, std::string(remote_address), WhyRefused(still)}, settings);
      return {.outcome = Outcome::kRefused};
    }
    if (renew) {
      database.Execute("UPDATE imenik_korisnici SET lozinka = :lozinka WHERE id = :id",
                       {renewed, account.id});
    }
    ForgetAttempts(database, user);
    database.Execute(
        "DELETE FROM imenik_tokeni WHERE vrijedi_do <= :sada OR koristen <= :koristen OR koristen > :poslije",
        {now, now - settings.idle_time, now + kClockFault});
    const UnixSeconds expires = now + settings.longest_time;
    database.Execute(
        "INSERT INTO imenik_tokeni (sazetak, korisnik_id, izdan, koristen, vrijedi_do, adresa) "
        "VALUES (:sazetak, :korisnik_id, :izdan, :koristen, :vrijedi_do, :adresa)",
        {DigestOf(token), account.id, now, now, expires, ShownAddress(remote_address)});
    NoteLogIn(database, {now, account.name, std::string(remote_address), "prijava"}, settings);
    return {.outcome = Outcome::kLoggedIn, .token = token, .expires = expires};
  });
}

std::optional<AccountSession> Accounts::SessionOf(std::string_view token, std::string_view company) {
  return state_->Look([&](Database& database) -> std::optional<AccountSession> {
    const UnixSeconds now = state_->now();
    const std::string digest = DigestOf(token);
    const std::string name = NameKey(company);
    const std::string key = digest + name;
    KnownSessions& known = state_->known;
    if (KeepsSessions(database, known)) {
      const auto found = known.sessions.find(key);
      if (found != known.sessions.end() && found->second.from <= now && now < found->second.to) {
        return found->second.session;
      }
    }
    std::optional<KnownSession> found = state_->FindSession(database, digest, name, now);
    if (!found) return std::nullopt;
    if (known.ask_version && found->to > now) {
      constexpr std::size_t kMost = 256;
      if (known.sessions.size() >= kMost) known.sessions.clear();
      known.sessions.insert_or_assign(key, *found);
    }
    return std::move(found->session);
  });
}

std::optional<KnownSession> Accounts::State::FindSession(Database& opened, const std::string& digest,
                                                         const std::string& company, UnixSeconds at) {
  if (!find_session) {
    find_session = opened.Prepare(kFindSession, {FieldKind::kText, FieldKind::kText, FieldKind::kInteger,
                                                 FieldKind::kInteger, FieldKind::kInteger});
    found_sessions = SessionRows();
  }
  find_session->BindText(0, company);
  find_session->BindText(1, digest);
  find_session->Bind(2, at);
  find_session->Bind(3, at - settings.idle_time);
  find_session->Bind(4, at + kClockFault);
  found_sessions.Clear();
  find_session->ExecuteInto(found_sessions);
  if (found_sessions.IsEmpty()) return std::nullopt;

  const RecordRow first = found_sessions.RowAt(0);
  KnownSession found{{.user = std::string(first.AsTextView(3)), .code = std::string(first.AsTextView(4))},
                     at};
  AccountSession& session = found.session;
  for (const RecordRow& row : found_sessions.Rows()) {
    if (const Role* const role = FindRole(row.AsTextView(6))) session.rights.Add(role->rights);
  }
  if (!session.rights.Empty()) session.address = first.AsTextView(5);
  session.journal_waits = first.AsInteger(7) != 0;
  const std::int64_t noted_each = std::min(kUseNotedEach, settings.idle_time / 10);
  found.to = std::min(first.AsInteger(1) + noted_each, first.AsInteger(2));
  if (at - first.AsInteger(1) > noted_each && at >= notes_use_from) {
    notes_use_from = NoteUse(opened, first.AsInteger(0), at) ? at : at + kUseNotedEach;
  }
  return found;
}

bool Accounts::LogOut(std::string_view token, std::string_view remote_address) {
  return state_->With([&](Database& database) {
    const std::string digest = DigestOf(token);
    const RecordSet owner =
        database.Query("korisnik", ParseColumns("ime"),
                       "SELECT k.ime FROM imenik_tokeni t JOIN imenik_korisnici k ON k.id = t.korisnik_id "
                       "WHERE t.sazetak = :sazetak",
                       {digest});
    if (owner.IsEmpty()) return false;
    WriteTransaction transaction(database);
    if (database.Execute("DELETE FROM imenik_tokeni WHERE sazetak = :sazetak", {digest}) == 0) return false;
    NoteLogIn(database, {state_->now(), owner.AsText(0), std::string(remote_address), "odjava"},
              state_->settings);
    transaction.Commit();
    return true;
  });
}

std::optional<std::string> Accounts::AddressOf(std::string_view company) {
  return state_->With([&](Database& database) -> std::optional<std::string> {
    const auto id = FindCompany(database, company);
    if (!id) return std::nullopt;
    const RecordSet found = database.Query("adresa", ParseColumns("adresa"),
                                           "SELECT adresa FROM imenik_poduzeca WHERE id = :id", {*id});
    if (found.IsEmpty()) return std::nullopt;
    return std::string(found.AsTextView(0));
  });
}

}  // namespace mox
