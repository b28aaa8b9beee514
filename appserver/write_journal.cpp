#include "appserver/write_journal.h"

#include <algorithm>
#include <random>
#include <vector>

#include "appserver/fold.h"
#include "appserver/journal_text.h"
#include "mox/foundation/digest.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

constexpr std::size_t kLongestName = 100;
constexpr std::size_t kLongestKey = 100;
constexpr std::size_t kLongestDocuments = 200;
constexpr std::size_t kLongestReason = 1000;
constexpr std::int64_t kLastSecond = 86'399'000;  // of a day, in milliseconds

std::string ShownName(std::string_view name) { return CutForJournal(name, kLongestName); }

// --- which documents ---

struct WrittenDocuments {
  Value id;  // of the only one
  Value named;
};

void AddIds(const RecordSet& records, std::vector<std::string>& ids) {
  for (const std::string_view name : {"dok_id", "docId"}) {
    const auto field = records.FindFieldIndex(name);
    if (!field) continue;
    for (const RecordRow& row : records.Rows()) {
      std::string id = row.AsText(*field);
      if (!id.empty() && std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(std::move(id));
    }
  }
}

WrittenDocuments DocumentsOf(const SentRecordSets& sent, const std::optional<RecordSet>& stored) {
  if (stored && !stored->IsEmpty() && stored->Name() == "Dokument") {
    const RecordRow row = stored->RowAt(0);
    const auto text = [&row](std::string_view field) { return row.AsText(row.IndexOf(field)); };
    return {row.AsVariant(row.IndexOf("id")), text("vrsta") + ' ' + text("broj") + '/' + text("godina")};
  }
  std::vector<std::string> ids;
  if (stored) AddIds(*stored, ids);
  for (const RecordSet& records : sent.All()) AddIds(records, ids);
  if (ids.empty()) return {};
  std::string named;
  for (const std::string& id : ids) named.append(named.empty() ? "id " : ", ").append(id);
  const bool is_number =
      std::all_of(ids.front().begin(), ids.front().end(), [](char c) { return c >= '0' && c <= '9'; });
  const bool is_one = ids.size() == 1 && is_number && ids.front().size() < 19;
  return {is_one ? Value(ToInteger(ids.front())) : Value(), JournalText(named, kLongestDocuments)};
}

// --- what was answered, as text ---

RecordSet EmptyRefusal() {
  RecordSet cells("Odbijeno");
  for (FieldDef& column : ParseColumns("record_set,row:integer,field,message")) {
    cells.DefineField(std::move(column));
  }
  cells.Open();
  return cells;
}

// The first record says what was refused, further ones which other cells.
std::string RefusalText(const WriteFailure& failure) {
  RecordSet cells = EmptyRefusal();
  const auto add = [&cells](const std::string& set, std::size_t row, const std::string& field,
                            const std::string& message) {
    cells.AppendRecord({set, static_cast<std::int64_t>(row), field, message});
  };
  add(failure.record_set, failure.row, failure.field, failure.message);
  for (const RefusedCell& other : failure.others)
    add(failure.record_set, other.row, other.field, other.message);
  return cells.SaveToString();
}

WriteFailure RefusalFrom(const std::string& text, const std::string& transaction) {
  RecordSet cells = EmptyRefusal();
  cells.LoadFromString(text);
  WriteFailure failure;
  failure.transaction = transaction;
  bool is_first = true;
  for (const RecordRow& cell : cells.Rows()) {
    const auto row = static_cast<std::size_t>(cell.AsInteger(1));
    if (is_first) {
      failure.record_set = cell.AsText(0);
      failure.row = row;
      failure.field = cell.AsText(2);
      failure.message = cell.AsText(3);
    } else {
      failure.others.push_back({row, cell.AsText(2), cell.AsText(3)});
    }
    is_first = false;
  }
  return failure;
}

// --- the row ---

void Insert(Database& database, const JournalledWrite& write, const WrittenDocuments& documents,
            bool is_stored, Value reason, const std::string& answer) {
  const bool has_key = !write.key.empty();
  database.ExecuteAhead(
      "INSERT INTO dnevnik_upisa (vrijeme, korisnik, transakcija, dok_id, dokumenti, upisano, razlog, kljuc, "
      "sazetak, odgovor) VALUES (:vrijeme, :korisnik, :transakcija, :dok_id, :dokumenti, :upisano, :razlog, "
      ":kljuc, :sazetak, :odgovor)",
      {JournalMoment(), ShownName(write.user), ShownName(write.transaction), documents.id, documents.named,
       is_stored, std::move(reason), has_key ? Value(write.key) : Value(),
       has_key ? Value(write.digest) : Value(), has_key && !answer.empty() ? Value(answer) : Value()});
}

bool WasJustRefused(Database& database, const JournalledWrite& write, const Value& reason) {
  constexpr std::int64_t kSoonAgain = 60'000;
  const RecordSet same =
      database.Query("isto", ParseColumns("id:integer"),
                     "SELECT id FROM dnevnik_upisa WHERE vrijeme > :od AND korisnik = :korisnik "
                     "AND transakcija = :transakcija AND razlog = :razlog AND NOT upisano LIMIT 1",
                     {DateTime{JournalMoment().milliseconds - kSoonAgain}, ShownName(write.user),
                      ShownName(write.transaction), reason});
  return !same.IsEmpty();
}

// --- the service ---

void PreparePeriod(Database& /*database*/, ServiceInputs& inputs) {
  const Date first = MakeDate(1, 1, 1).value();
  const Date last = MakeDate(9999, 12, 31).value();
  const Date from = inputs.IsNull("od") ? first : inputs.As<Date>("od");
  const Date to = inputs.IsNull("do") ? last : inputs.As<Date>("do");
  inputs.Derive("prvi", FieldKind::kDateTime, StartOf(from));
  inputs.Derive("zadnji", FieldKind::kDateTime, DateTime{StartOf(to).milliseconds + kLastSecond});
  const std::string user = inputs.IsNull("korisnik") ? std::string() : inputs.As<std::string>("korisnik");
  inputs.Derive("tko", FieldKind::kText, FoldKey(user));
  inputs.Derive("dokument", FieldKind::kInteger,
                inputs.IsNull("dok_id") ? Value(std::int64_t{0}) : inputs["dok_id"]);
}

}  // namespace

std::string NewWriteKey() {
  constexpr char kDigits[] = "0123456789abcdef";
  std::random_device random;
  std::string key;
  for (int i = 0; i < 4; ++i) {
    unsigned bits = random();
    for (int digit = 0; digit < 8; ++digit, bits >>= 4U) key += kDigits[bits & 15U];
  }
  return key;
}

JournalledWrite MakeJournalledWrite(std::string_view user, std::string_view transaction,
                                    std::string_view inner, std::string_view key) {
  JournalledWrite write{.user = std::string(user), .transaction = std::string(transaction)};
  if (key.empty()) return write;
  const bool plain = std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < '\x7F'; });
  if (!plain || key.size() > kLongestKey) {
    throw Error("the key of a request does not have 1 to " + std::to_string(kLongestKey) +
                " printable ASCII characters without blanks");
  }
  write.key = key;
  TextDigest digest;
  for (const std::string_view part : {user, transaction, inner}) {
    digest.Add(part);
    digest.Add(std::string_view("\n"));
  }
  write.digest = digest.Digits();
  return write;
}

std::optional<WriteOutcome> FindEarlierOutcome(Database& database, const JournalledWrite& write) {
  if (write.key.empty()) return std::nullopt;
  const RecordSet found =
      database.Query("ranije", ParseColumns("sazetak,upisano:boolean,odgovor"),
                     "SELECT sazetak, upisano, odgovor FROM dnevnik_upisa WHERE kljuc = :kljuc", {write.key});
  if (found.IsEmpty()) return std::nullopt;
  WriteOutcome outcome{.committed = found.AsBoolean(1), .transaction = {}, .failure = {}, .stored = {}};
  if (found.AsTextView(0) != write.digest) {
    throw KeyReused("the key \"" + write.key + "\" is that of another request");
  }
  if (!outcome.committed) {
    outcome.failure = RefusalFrom(found.AsText(2), write.transaction);
    return outcome;
  }
  outcome.transaction = write.transaction;
  if (!found.IsNull(2)) {
    outcome.stored.emplace();
    outcome.stored->LoadFromString(found.AsText(2));
  }
  return outcome;
}

void JournalStored(Database& database, const JournalledWrite& write, const SentRecordSets& sent,
                   const std::optional<RecordSet>& stored) {
  const bool answers = !write.key.empty() && stored;
  Insert(database, write, DocumentsOf(sent, stored), true, {},
         answers ? stored->SaveToString() : std::string());
}

void JournalRefused(Database& database, const JournalledWrite& write, const WriteFailure& failure) {
  const Value reason = JournalText(failure.ToString(), kLongestReason);
  const bool has_key = !write.key.empty();
  if (!has_key && WasJustRefused(database, write, reason)) return;
  // Under its key the same request may be stored just now, which is waited for.
  WriteTransaction transaction(database, has_key ? Writing::kAlone : Writing::kBesideOthers);
  Insert(database, write, {}, false, reason, RefusalText(failure));
  transaction.Commit();
}

void JournalServerChanges(Database& database, const std::vector<ServerChange>& changes) {
  WriteTransaction transaction(database, Writing::kBesideOthers);
  for (const ServerChange& change : changes) {
    database.Execute(
        "INSERT INTO dnevnik_upisa (vrijeme, korisnik, transakcija, dokumenti, upisano, razlog, kljuc, "
        "sazetak) "
        "VALUES (:vrijeme, :korisnik, :transakcija, :dokumenti, :upisano, :razlog, :kljuc, :sazetak) "
        "ON CONFLICT DO NOTHING",
        {change.at, ShownName(change.user), ShownName(change.transaction),
         JournalText(change.what, kLongestDocuments), change.refused.empty(),
         JournalText(change.refused, kLongestReason), change.key, DigestText(change.what)});
  }
  transaction.Commit();
}

const NamedService& WriteJournalService() {
  static const NamedService service = {"DnevnikUpisa",
                                       Right::kAdminister,
                                       "od?:date,do?:date,korisnik?:text,dok_id?:integer",
                                       "who wrote what, the last one first: of a period, of a user, of a "
                                       "document; also requests of logged-in users that "
                                       "were refused",
                                       {{"adsDnevnik",
                                         "id:integer,vrijeme:datetime,korisnik,transakcija,dok_id:integer,"
                                         "dokumenti,upisano:boolean,razlog,kljuc",
                                         R"(
SELECT id, vrijeme, korisnik, transakcija, dok_id, dokumenti, upisano, razlog, kljuc
FROM dnevnik_upisa
WHERE vrijeme >= :prvi AND vrijeme <= :zadnji AND (:tko = '' OR fold(korisnik) = :tko)
  AND (:dokument = 0 OR dok_id = :dokument)
ORDER BY id DESC)"}},
                                       PreparePeriod};
  return service;
}

}  // namespace mox
