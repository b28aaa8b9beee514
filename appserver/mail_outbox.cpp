#include "appserver/mail_outbox.h"

#include <algorithm>
#include <array>
#include <random>

#include "appserver/fold.h"
#include "appserver/stored_document.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/mail_address.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

constexpr std::string_view kMailColumns =
    "id:integer,dok_id:integer,kome,predmet,tekst,poruka,stanje,vrijeme:datetime,slanje:datetime,odgovor,"
    "storno_id:integer";
constexpr std::string_view kSendingColumns =
    "id:integer,posta_id:integer,vrijeme:datetime,korisnik,kraj:datetime,stanje,odgovor,potvrdeno";
constexpr std::string_view kAccountColumns = "url,korisnik,lozinka,posiljatelj";

constexpr const char* kReadAccount =
    "SELECT url, korisnik, lozinka, posiljatelj FROM posta_racun ORDER BY id LIMIT 1";

// Fills an answer with the mails that are asked for, or their sendings.
void FillAsked(Database& database, const ServiceInputs& inputs, RecordSet& answer, std::string_view columns,
               const std::string& sql, const char* order) {
  std::string condition;
  std::vector<Value> values;
  for (const char* name : {"id", "dok_id", "stanje"}) {
    if (inputs.IsNull(name)) continue;
    condition += std::string(condition.empty() ? " WHERE p." : " AND p.") + name + " = :" + name;
    values.push_back(inputs[name]);
  }
  answer =
      database.Query(answer.Name(), ParseColumns(columns), sql + condition + " ORDER BY " + order, values);
}

void FillMails(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  FillAsked(database, inputs, answer, kMailColumns,
            "SELECT p.id, p.dok_id, p.kome, p.predmet, p.tekst, p.poruka, p.stanje, p.vrijeme, s.vrijeme, "
            "s.odgovor, (SELECT d.id FROM dok d WHERE d.stornira_id = p.dok_id) FROM posta p LEFT JOIN "
            "posta_slanja s ON s.id = "
            "(SELECT MAX(z.id) FROM posta_slanja z WHERE z.posta_id = p.id)",
            "p.id");
}

void FillSendings(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  FillAsked(database, inputs, answer, kSendingColumns,
            "SELECT s.id, s.posta_id, s.vrijeme, s.korisnik, s.kraj, s.stanje, s.odgovor, s.potvrdeno "
            "FROM posta_slanja s JOIN posta p ON p.id = s.posta_id",
            "s.id");
}

const NamedService kServices[] = {
    {"Posta",
     Right::kRead,
     "id?:integer,dok_id?:integer,stanje?",
     "the mails of documents and what became of them (ceka, salje, poslano, odbijeno, nepoznato), what "
     "cancels "
     "their documents, and every time that they were sent",
     {{"adsPosta", kMailColumns, "", FillMails}, {"adsSlanja", kSendingColumns, "", FillSendings}}},
    {"PostaPredlozak",
     Right::kRead,
     "id:integer",
     "the template that a mail was asked for with, its text and the file that it stood in",
     {{"adsPredlozak", "predlozak,predlozak_datoteka",
       "SELECT predlozak, predlozak_datoteka FROM posta WHERE id = :id AND predlozak IS NOT NULL"}}},
    {"PostaRacun",
     Right::kEnterDocuments,
     "",
     "the company's account with its server of mails, for the program that sends them",
     {{"adsRacun", kAccountColumns, kReadAccount}}}};

// --- the transactions ---

// The only record of a request, with what is missing in it told.
class MailRecord {
 public:
  explicit MailRecord(const SentRecordSets& sent) : records_(sent.All().front()) {
    RequireOneRecord(records_);
  }

  [[noreturn]] void Refuse(std::string_view field, std::string message) const {
    throw WriteRefused({"", records_.Name(), 1, std::string(field), std::move(message)});
  }
  // Empty where there is no such field or no value.
  std::string Text(std::string_view field) const {
    const auto index = records_.FindFieldIndex(field);
    return index ? std::string(TrimBlanks(records_.AsText(*index))) : std::string();
  }
  // The value as it was sent, with its blanks; null where there is no such field.
  Value Given(std::string_view field) const {
    const auto index = records_.FindFieldIndex(field);
    return index ? records_.AsVariant(*index) : Value();
  }
  std::string RequiredText(std::string_view field) const {
    std::string text = Text(field);
    if (text.empty()) Refuse(field, "must not be empty");
    return text;
  }
  // One address without a name.
  std::string RequiredAddress(std::string_view field) const {
    std::string address = RequiredText(field);
    if (std::string fault = AddressFault(address); !fault.empty()) Refuse(field, std::move(fault));
    return address;
  }
  std::int64_t RequiredInteger(std::string_view field) const {
    RequiredText(field);
    try {
      return ToInteger(records_.AsVariant(*records_.FindFieldIndex(field)));
    } catch (const Error& error) {
      Refuse(field, error.what());
    }
  }

 private:
  const RecordSet& records_;
};

std::string NewMessageName() {
  constexpr char kDigits[] = "0123456789abcdef";
  std::random_device random;
  std::string name;
  for (int i = 0; i < 32; ++i) name += kDigits[random() & 15U];
  return name;
}

RecordSet KeyAnswer(const char* name, std::int64_t id) {
  RecordSet stored(name);
  stored.DefineField("id", FieldKind::kInteger);
  stored.Open();
  stored.AppendRecord({id});
  return stored;
}

// Stores a row, and answers its key.
std::int64_t InsertRow(Database& database, const char* sql, std::span<const Value> values) {
  return database.PrepareWith(sql, values).ExecuteForKey();
}

// A mail of the outbox that somebody means in the state that he was told of.
struct StoredMail {
  std::int64_t id;
  std::string state;
  std::int64_t document;
  std::string storno;  // what cancels it; empty where nothing does
};

constexpr std::string_view kWaits = "ceka";
constexpr std::string_view kIsSending = "salje";
constexpr std::string_view kIsSent = "poslano";
constexpr std::string_view kIsRefused = "odbijeno";
constexpr std::string_view kIsUnknown = "nepoznato";

StoredMail MailMeant(Database& database, const MailRecord& mail) {
  const std::int64_t id = mail.RequiredInteger("id");
  const RecordSet stored = database.Query(
      "posta", ParseColumns("stanje,dok_id:integer,storno_id:integer"),
      "SELECT p.stanje, p.dok_id, (SELECT d.id FROM dok d WHERE d.stornira_id = p.dok_id) FROM posta p "
      "WHERE p.id = :id",
      {id});
  if (stored.IsEmpty()) mail.Refuse("id", "there is no mail " + std::to_string(id));
  return {id, stored.AsText(0), stored.AsInteger(1), stored.AsText(2)};
}

[[noreturn]] void RefuseState(const MailRecord& record, const StoredMail& mail) {
  record.Refuse("id", "mail " + std::to_string(mail.id) + " is " + mail.state);
}

// A document goes to a receiver once: the mail that is there already stands for it, however far it has come,
// until it was refused or withdrawn, and no sending of it may have arrived.
std::optional<std::int64_t> FindMail(Database& database, std::int64_t doc_id, const std::string& to) {
  const RecordSet stored =
      database.Query("posta", ParseColumns("id:integer"),
                     "SELECT id FROM posta WHERE dok_id = :dok_id AND fold(kome) = "
                     ":kome AND (stanje <> 'odbijeno' OR EXISTS (SELECT 1 FROM posta_slanja s "
                     "WHERE s.posta_id = posta.id AND (s.stanje IS NULL OR s.stanje IN "
                     "('poslano', 'nepoznato')))) ORDER BY id LIMIT 1",
                     {doc_id, FoldKey(to)});
  return stored.IsEmpty() ? std::nullopt : std::optional(stored.AsInteger(0));
}

std::optional<RecordSet> InsertMail(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  const MailRecord mail(sent);
  const std::int64_t doc_id = mail.RequiredInteger("dok_id");
  if (!ReadStoredDocument(database, doc_id)) {
    mail.Refuse("dok_id", "there is no document " + std::to_string(doc_id));
  }
  const std::string to = mail.RequiredAddress("kome");
  if (const auto found = FindMail(database, doc_id, to)) return KeyAnswer("adsPosta", *found);
  const Value values[] = {
      doc_id,           to,         mail.RequiredText("predmet"), mail.RequiredText("tekst"),
      NewMessageName(), LocalNow(), mail.Given("predlozak"),      mail.Given("predlozak_datoteka")};
  return KeyAnswer(
      "adsPosta",
      InsertRow(database,
                "INSERT INTO posta (dok_id, kome, predmet, tekst, poruka, stanje, "
                "vrijeme, predlozak, predlozak_datoteka) VALUES (:dok_id, :kome, :predmet, :tekst, "
                ":poruka, 'ceka', :vrijeme, :predlozak, :predlozak_datoteka) RETURNING id",
                values));
}

// What may have been sent is begun anew only where the user has said so, in the state that he was told of,
// and the mail of a document that is cancelled only where he was told of that.
std::optional<RecordSet> BeginSending(const NamedTransaction& /*transaction*/, Database& database,
                                      const SentRecordSets& sent) {
  const MailRecord mail(sent);
  const StoredMail stored = MailMeant(database, mail);
  if (stored.state != kWaits && mail.Text("potvrdeno") != stored.state) RefuseState(mail, stored);
  if (!stored.storno.empty() && mail.Text("storno_id") != stored.storno) {
    mail.Refuse("storno_id", "document " + std::to_string(stored.document) + " was cancelled by document " +
                                 stored.storno + ", and nobody has agreed to send it");
  }
  std::string agreed = stored.state == kWaits ? std::string() : stored.state;
  if (!stored.storno.empty()) agreed += (agreed.empty() ? "" : " ") + std::string("stornirano");
  database.Execute("UPDATE posta SET stanje = 'salje' WHERE id = :id", {stored.id});
  const Value values[] = {stored.id, LocalNow(), sent.Who().user, agreed.empty() ? Value() : Value(agreed)};
  return KeyAnswer("adsSlanje", InsertRow(database,
                                          "INSERT INTO posta_slanja (posta_id, vrijeme, korisnik, potvrdeno) "
                                          "VALUES (:posta_id, :vrijeme, :korisnik, :potvrdeno) RETURNING id",
                                          values));
}

// What nobody wants to be sent any more, or somebody knows to have arrived: journalled like a sending.
std::optional<RecordSet> SettleMail(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  const MailRecord mail(sent);
  const StoredMail stored = MailMeant(database, mail);
  const std::string end = mail.RequiredText("stanje");
  const bool is_doubtful = stored.state == kIsSending || stored.state == kIsUnknown;
  const bool is_withdrawn = end == kIsRefused;
  if (!is_withdrawn && end != kIsSent) mail.Refuse("stanje", "\"" + end + "\" settles nothing");
  if (!is_doubtful && !(is_withdrawn && stored.state == kWaits)) RefuseState(mail, stored);
  if (mail.RequiredText("potvrdeno") != stored.state) RefuseState(mail, stored);
  const DateTime now = LocalNow();
  const std::string words = is_withdrawn ? "povučeno" : "potvrđeno da je poslano";
  database.Execute("UPDATE posta SET stanje = :stanje WHERE id = :id", {end, stored.id});
  database.Execute(
      "INSERT INTO posta_slanja (posta_id, vrijeme, korisnik, kraj, stanje, odgovor) "
      "VALUES (:posta_id, :vrijeme, :korisnik, :kraj, :stanje, :odgovor)",
      {stored.id, now, sent.Who().user, now, end, words});
  return std::nullopt;
}

// What a sending makes of its mail. One that brought nothing there takes nothing back of what an earlier one
// brought, or may have brought.
std::string StateAfter(Database& database, std::int64_t mail, std::int64_t sending, const std::string& end) {
  if (end != kWaits && end != kIsRefused) return end;
  const RecordSet others = database.Query(
      "slanja", ParseColumns("stanje"),
      "SELECT stanje FROM posta_slanja WHERE posta_id = :mail AND id <> :sending", {mail, sending});
  std::string state = end;
  for (const RecordRow& other : others.Rows()) {
    if (other.AsTextView(0) == kIsSent) return std::string(kIsSent);
    if (other.IsNull(0) || other.AsTextView(0) == kIsUnknown) state = kIsUnknown;
  }
  return state;
}

// A sending that ended after another one had begun is noted alone: the mail is what the last one makes of it.
// But what the server has taken was sent, whatever was made of the mail since.
std::optional<RecordSet> EndSending(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  constexpr std::array<std::string_view, 4> kEnds = {kWaits, kIsSent, kIsRefused, kIsUnknown};
  constexpr std::size_t kLongestAnswer = 500;
  const MailRecord sending(sent);
  const std::int64_t id = sending.RequiredInteger("id");
  const std::string end = sending.RequiredText("stanje");
  if (std::find(kEnds.begin(), kEnds.end(), end) == kEnds.end()) {
    sending.Refuse("stanje", "\"" + end + "\" is no end");
  }
  const RecordSet stored =
      database.Query("slanje", ParseColumns("posta_id:integer,stanje,zadnje:integer,posta"),
                     "SELECT s.posta_id, s.stanje, (SELECT MAX(z.id) FROM posta_slanja z WHERE "
                     "z.posta_id = s.posta_id), p.stanje FROM posta_slanja s JOIN posta p ON p.id = "
                     "s.posta_id WHERE s.id = :id",
                     {id});
  if (stored.IsEmpty()) sending.Refuse("id", "there is no sending " + std::to_string(id));
  if (!stored.IsNull(1)) sending.Refuse("id", "sending " + std::to_string(id) + " has ended");
  database.Execute(
      "UPDATE posta_slanja SET kraj = :kraj, stanje = :stanje, odgovor = :odgovor WHERE id = :id",
      {LocalNow(), end, std::string(CutToCharacters(sending.Text("odgovor"), kLongestAnswer)), id});
  const bool is_late_proof = end == kIsSent && stored.AsTextView(3) != kIsSending;
  if (stored.AsInteger(2) == id || is_late_proof) {
    database.Execute("UPDATE posta SET stanje = :stanje WHERE id = :id",
                     {StateAfter(database, stored.AsInteger(0), id, end), stored.AsInteger(0)});
  }
  return std::nullopt;
}

// A field that is not sent, or is null, leaves what is stored.
std::optional<RecordSet> SetMailAccount(const NamedTransaction& /*transaction*/, Database& database,
                                        const SentRecordSets& sent) {
  const MailRecord account(sent);
  const RecordSet& records = sent.All().front();
  const Columns columns = ParseColumns(kAccountColumns);
  const RecordSet stored = database.Query("racun", columns, kReadAccount);
  std::vector<Value> values;
  for (std::size_t i = 0; i < columns.size(); ++i) {
    const auto field = records.FindFieldIndex(columns[i].name);
    const bool is_sent = field && !records.IsNull(*field);
    if (is_sent) {
      values.emplace_back(columns[i].name == "lozinka" ? records.AsText(*field)
                                                       : account.Text(columns[i].name));
    } else {
      values.push_back(stored.IsEmpty() ? Value() : stored.RowAt(0).AsVariant(i));
    }
  }
  struct Checked {
    std::size_t column;
    std::string (*fault)(std::string_view text);
  };
  for (const auto& [i, fault] : {Checked{0, MailServerFault}, Checked{columns.size() - 1, AddressFault}}) {
    const auto* const text = std::get_if<std::string>(&values[i]);
    if (text == nullptr || text->empty()) account.Refuse(columns[i].name, "must not be empty");
    if (std::string found = fault(*text); !found.empty()) account.Refuse(columns[i].name, std::move(found));
  }
  database.Execute("DELETE FROM posta_racun");
  database
      .PrepareWith(
          "INSERT INTO posta_racun (url, korisnik, lozinka, posiljatelj) "
          "VALUES (:url, :korisnik, :lozinka, :posiljatelj)",
          values)
      .Execute();
  return std::nullopt;
}

const NamedTransaction kTransactions[] = {
    {"PostaRacunUpis",
     Right::kAdminister,
     "changes the company's account with its server of mails; a field that is left out stays as it is",
     {{"adsRacun", {"posta_racun"}, true, kAccountColumns}},
     SetMailAccount},
    {"PostaUpis",
     Right::kEnterDocuments,
     "puts the mail of a document into the outbox, with the template that it is of; answers its id, or that "
     "of the document's mail to this "
     "address that is there already, unless it was refused or withdrawn and cannot have arrived",
     {{"adsPosta", {"posta"}, true, "dok_id:integer,kome,predmet,tekst,predlozak,predlozak_datoteka"}},
     InsertMail},
    {"PostaPocetak",
     Right::kEnterDocuments,
     "says, before anything is sent, that a program sends the mail now; refused unless it waits, or is what "
     "`potvrdeno` says that the user was told (nepoznato, salje, odbijeno, poslano), and, where its document "
     "was "
     "cancelled, unless `storno_id` says that he was told; answers the id of the sending",
     {{"adsPosta", {"posta"}, true, "id:integer,potvrdeno,storno_id:integer"}},
     BeginSending},
    {"PostaKraj",
     Right::kEnterDocuments,
     "says how a sending ended: poslano, odbijeno, nepoznato, or ceka where nothing was sent",
     {{"adsSlanje", {"posta_slanja"}, true, "id:integer,stanje,odgovor"}},
     EndSending},
    {"PostaRjesenje",
     Right::kEnterDocuments,
     "settles a mail that is what `potvrdeno` says that the user was told: withdrawn (odbijeno) where it "
     "waits or nobody knows (ceka, salje, nepoznato), or poslano where somebody knows what nobody knew "
     "(salje, "
     "nepoznato)",
     {{"adsPosta", {"posta"}, true, "id:integer,stanje,potvrdeno"}},
     SettleMail}};

}  // namespace

void AddMailSecrets(Database& database, Secrets& secrets) {
  const RecordSet account = database.Query("racun", ParseColumns(kAccountColumns), kReadAccount);
  for (const RecordRow& row : account.Rows()) {
    secrets.Add(row.AsText(2));
    secrets.AddThoseOf(row.AsText(0));
  }
}

std::span<const NamedService> MailServices() { return kServices; }

std::span<const NamedTransaction> MailTransactionTable() { return kTransactions; }

}  // namespace mox
