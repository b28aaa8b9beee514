// The journals of the directory: who changed what, or was refused it, and who came and went.

#include <algorithm>

#include "appserver/fold.h"
#include "appserver/journal_text.h"
#include "appserver/write_journal.h"
#include "mox/foundation/digest.h"
#include "mox/foundation/secrets.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"
#include "moxd/accounts_internal.h"

namespace mox {
namespace {

constexpr std::size_t kLongestName = 64;
constexpr std::size_t kLongestCompany = 48;
constexpr std::size_t kLongestChange = 200;
constexpr std::size_t kLongestReason = 1000;
constexpr std::size_t kLongestAddress = 64;

constexpr UnixSeconds kSoonAgain = 60;
constexpr std::int64_t kMostTaken = 1000;

std::string Shown(std::string_view text, std::size_t longest) {
  const std::string shown = VisibleText(text);
  return std::string(CutToCharacters(shown, longest));
}

// A text in which there may be the address of a database.
std::string WithoutPasswords(std::string_view text) {
  Secrets secrets;
  secrets.AddThoseOf(text);
  return secrets.Blanked(text);
}

// By which a request under its key is told from another one.
std::string RequestDigest(const DirectoryChange& change) {
  TextDigest digest;
  for (const std::string_view part :
       {std::string_view(change.by), std::string_view(change.company), std::string_view(change.user),
        std::string_view(change.change), std::string_view(change.request)}) {
    digest.Add(part);
    digest.Add(std::string_view("\n"));
  }
  return digest.Digits();
}

}  // namespace

bool WasMade(Database& database, const DirectoryChange& change) {
  if (change.key.empty() || change.rehearses) return false;
  const RecordSet before =
      database.Query("dnevnik", ParseColumns("sazetak,odbijeno"),
                     "SELECT sazetak, odbijeno FROM imenik_dnevnik WHERE kljuc = :kljuc", {change.key});
  if (before.IsEmpty()) return false;
  if (before.AsTextView(0) != RequestDigest(change)) throw KeyReused("the key is that of another request");
  if (!before.IsNull(1)) throw Error(before.AsText(1));
  return true;
}

void Note(Database& database, const DirectoryChange& change, UnixSeconds now, std::string_view refused) {
  const auto company = change.transaction.empty() ? std::nullopt : FindCompany(database, change.company);
  const auto text = [](const std::string& of) { return of.empty() ? Value() : Value(of); };
  // What a company's own journal gets it gets once, under this key.
  const std::string key = company && change.key.empty() ? NewWriteKey() : change.key;
  database.Execute(
      "INSERT INTO imenik_dnevnik (vrijeme, tko, poduzece, korisnik, promjena, kljuc, transakcija, sazetak, "
      "odbijeno, za_poduzece) VALUES (:vrijeme, :tko, :poduzece, :korisnik, :promjena, :kljuc, :transakcija, "
      ":sazetak, :odbijeno, :za) ON CONFLICT (kljuc) DO NOTHING",
      {now, Shown(change.by, kLongestName), Shown(WithoutPasswords(change.company), kLongestCompany),
       Shown(change.user, kLongestName), Shown(WithoutPasswords(change.change), kLongestChange), text(key),
       text(change.transaction), change.key.empty() ? Value() : Value(RequestDigest(change)),
       JournalText(WithoutPasswords(refused), kLongestReason), company ? Value(*company) : Value()});
}

namespace {

// Whether one of the last lines, not long ago, says the same.
bool WasJustRefused(Database& database, const DirectoryChange& change, UnixSeconds now,
                    std::string_view why) {
  const RecordSet same = database.Query(
      "isto", ParseColumns("broj:integer"),
      "SELECT COUNT(*) FROM (SELECT vrijeme, tko, poduzece, transakcija, odbijeno FROM imenik_dnevnik "
      "ORDER BY id DESC LIMIT 100) d WHERE d.vrijeme > :od AND d.tko = :tko AND fold(d.poduzece) = :poduzece "
      "AND d.transakcija = :transakcija AND d.odbijeno = :odbijeno",
      {now - kSoonAgain, Shown(change.by, kLongestName), FoldKey(Shown(change.company, kLongestCompany)),
       change.transaction, JournalText(WithoutPasswords(why), kLongestReason)});
  return same.AsInteger(0) > 0;
}

}  // namespace

void Accounts::NoteRefused(const UserChange& change, std::string_view transaction, std::string_view why) {
  if (change.rehearses) return;
  // Without its key: who is refused for want of a right may be given it, and send the same again.
  const DirectoryChange refused = {.by = change.by,
                                   .company = change.company,
                                   .change = std::string(transaction),
                                   .transaction = std::string(transaction)};
  const bool is_told =
      state_->With([&](Database& database) { return WasJustRefused(database, refused, state_->now(), why); });
  if (!is_told) state_->TryToNote(refused, why);
}

std::vector<JournalledChange> Accounts::Journal() {
  return state_->With([](Database& database) {
    const RecordSet rows = database.Query(
        "dnevnik", ParseColumns("vrijeme:integer,tko,poduzece,korisnik,promjena,odbijeno"),
        "SELECT vrijeme, tko, poduzece, korisnik, promjena, odbijeno FROM imenik_dnevnik ORDER BY id DESC");
    std::vector<JournalledChange> changes;
    changes.reserve(rows.RowCount());
    for (const RecordRow& row : rows.Rows()) {
      changes.push_back(
          {row.AsInteger(0), row.AsText(1), row.AsText(2), row.AsText(3), row.AsText(4), row.AsText(5)});
    }
    return changes;
  });
}

void NoteLogIn(Database& database, const JournalledLogIn& log_in, const AccountSettings& settings) {
  database.Execute(
      "INSERT INTO imenik_prijave (vrijeme, korisnik, adresa, ishod) "
      "VALUES (:vrijeme, :korisnik, :adresa, :ishod)",
      {log_in.at, log_in.user, Shown(log_in.remote_address, kLongestAddress), log_in.what});
  database.Execute("DELETE FROM imenik_prijave WHERE vrijeme <= :do",
                   {log_in.at - settings.kept_log_in_time});
  database.Execute("DELETE FROM imenik_prijave WHERE id <= (SELECT MAX(id) FROM imenik_prijave) - :najvise",
                   {settings.kept_log_ins});
}

std::vector<JournalledLogIn> Accounts::LogIns() {
  return state_->With([](Database& database) {
    const RecordSet rows =
        database.Query("prijave", ParseColumns("vrijeme:integer,korisnik,adresa,ishod"),
                       "SELECT vrijeme, korisnik, adresa, ishod FROM imenik_prijave ORDER BY id DESC");
    std::vector<JournalledLogIn> log_ins;
    log_ins.reserve(rows.RowCount());
    for (const RecordRow& row : rows.Rows()) {
      log_ins.push_back({row.AsInteger(0), row.AsText(1), row.AsText(2), row.AsText(3)});
    }
    return log_ins;
  });
}

std::vector<WaitingChange> Accounts::WaitingFor(std::string_view company) {
  return state_->With([&](Database& database) {
    std::vector<WaitingChange> changes;
    const auto id = FindCompany(database, company);
    if (!id) return changes;
    const RecordSet rows = database.Query(
        "ceka",
        ParseColumns("id:integer,transakcija,kljuc,vrijeme:integer,tko,poduzece,korisnik,promjena,odbijeno"),
        "SELECT id, transakcija, kljuc, vrijeme, tko, poduzece, korisnik, promjena, odbijeno "
        "FROM imenik_dnevnik WHERE za_poduzece = :poduzece ORDER BY id LIMIT :najvise",
        {*id, kMostTaken});
    changes.reserve(rows.RowCount());
    for (const RecordRow& row : rows.Rows()) {
      changes.push_back(
          {row.AsInteger(0),
           row.AsText(1),
           row.AsText(2),
           {row.AsInteger(3), row.AsText(4), row.AsText(5), row.AsText(6), row.AsText(7), row.AsText(8)}});
    }
    return changes;
  });
}

void Accounts::NoteTaken(std::string_view company, std::int64_t last) {
  state_->Write([&](Database& database) {
    const auto id = FindCompany(database, company);
    if (!id) return;
    database.Execute(
        "UPDATE imenik_dnevnik SET za_poduzece = NULL WHERE za_poduzece = :poduzece AND id <= :zadnji",
        {*id, last});
  });
}

void Accounts::ActAs(std::string_view who) { state_->by = who; }

}  // namespace mox
