#include "paper/outbox.h"

#include <filesystem>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"
#include "mox/foundation/mail_address.h"
#include "mox/foundation/secrets.h"
#include "mox/server/read_services.h"
#include "paper/a4_layout.h"
#include "paper/page.h"
#include "paper/pdf.h"

namespace mox {
namespace {

// A record of keys and texts.
RecordSet RecordOf(const char* name, std::initializer_list<std::pair<const char*, Value>> fields) {
  RecordSet records(name);
  std::vector<Value> values;
  for (const auto& [field, value] : fields) {
    const bool is_key = std::holds_alternative<std::int64_t>(value);
    records.DefineField(field, is_key ? FieldKind::kInteger : FieldKind::kText);
    values.push_back(value);
  }
  records.Open();
  records.AppendRecord(values);
  return records;
}

RecordSet Asked(std::string_view service, std::string_view answer, const TAstaParamList& request) {
  auto records = CreateDBDataSet(service, answer, request);
  if (!records) throw Error("the server does not know the service " + std::string(service));
  return std::move(*records);
}

std::string TextOf(const RecordRow& row, std::string_view field) { return row.AsText(row.IndexOf(field)); }

OutboxMail MailOf(const RecordRow& row) {
  const std::size_t storno = row.IndexOf("storno_id");
  return {row.AsInteger(row.IndexOf("id")),
          row.AsInteger(row.IndexOf("dok_id")),
          TextOf(row, "kome"),
          TextOf(row, "predmet"),
          TextOf(row, "tekst"),
          TextOf(row, "poruka"),
          TextOf(row, "stanje"),
          row.IsNull(storno) ? std::nullopt : std::optional(row.AsInteger(storno))};
}

// Null for the template that holds without a file, whose text is empty.
Value PathOf(const PaperTemplate& paper) {
  if (paper.File().empty()) return {};
  return std::filesystem::absolute(paper.File()).string();
}

struct EndRow {
  const char* state;
  const char* words;
};
constexpr EndRow kStates[] = {
    {"ceka", "waits in the outbox"},
    {"salje",
     "is being sent by another program, or that program broke down: it may have been sent, "
     "and no answer tells"},
    {"poslano", "was sent already"},
    {"odbijeno", "was refused or withdrawn"},
    {"nepoznato", "may have been sent, and no answer tells"}};
// By MailEnd.
constexpr EndRow kEnds[] = {{"poslano", "was sent"},
                            {"ceka", "was not sent and waits in the outbox"},
                            {"odbijeno", "was refused"},
                            {"nepoznato", "may have been sent, and no answer tells"}};

}  // namespace

const char* OutcomeWords(MailEnd end) { return kEnds[static_cast<std::size_t>(end)].words; }

std::string MailWords(const OutboxMail& mail) {
  std::string words = "is " + mail.state;
  for (const EndRow& row : kStates) {
    if (mail.state == row.state) words = row.words;
  }
  if (mail.storno_id)
    words += ", and its document was cancelled by document " + std::to_string(*mail.storno_id);
  return words;
}

std::vector<OutboxMail> Outbox::Mails(std::optional<std::int64_t> doc_id) const {
  TAstaParamList request;
  if (doc_id) request.FastAdd("dok_id", *doc_id);
  std::vector<OutboxMail> mails;
  for (const RecordSet stored = Asked("Posta", "adsPosta", request); const RecordRow& row : stored.Rows()) {
    mails.push_back(MailOf(row));
  }
  return mails;
}

OutboxMail Outbox::Find(std::int64_t id) const {
  const RecordSet stored = Asked("Posta", "adsPosta", {{"id", id}});
  if (stored.IsEmpty()) throw Error("there is no mail " + std::to_string(id));
  return MailOf(stored.RowAt(0));
}

OutboxMail Outbox::Put(std::int64_t doc_id, const std::string& to) {
  if (const std::string fault = AddressFault(to); !fault.empty()) throw Error(fault);
  const Placeholders values = PlaceholdersOf(MakePage(doc_id, paper_), CurrentLocale());
  RecordSet record = RecordOf("adsPosta", {{"dok_id", doc_id},
                                           {"kome", to},
                                           {"predmet", Filled(paper_.Text("posta", "predmet"), values)},
                                           {"tekst", Filled(paper_.Text("posta", "tekst"), values)},
                                           {"predlozak", paper_.Source()},
                                           {"predlozak_datoteka", PathOf(paper_)}});
  return Find(store_.Store("PostaUpis", record));
}

// Says by the mail's state why it was refused, where that is another one by now.
std::int64_t Outbox::StoreFor(const OutboxMail& mail, std::string_view transaction, RecordSet& record) {
  try {
    return store_.Store(transaction, record);
  } catch (const Error&) {
    const OutboxMail now = Find(mail.id);
    if (now.state == mail.state && now.storno_id == mail.storno_id) throw;
    throw MailChanged("mail " + std::to_string(mail.id) + " to " + mail.to + " " + MailWords(now));
  }
}

void Outbox::Settle(const OutboxMail& mail, MailEnd end) {
  RecordSet record =
      RecordOf("adsPosta", {{"id", mail.id},
                            {"stanje", std::string(kEnds[static_cast<std::size_t>(end)].state)},
                            {"potvrdeno", mail.state}});
  StoreFor(mail, "PostaRjesenje", record);
}

const MailAccount& Outbox::Account() {
  if (!account_.url.empty()) return account_;
  const RecordSet stored = Asked("PostaRacun", "adsRacun", {});
  if (stored.IsEmpty()) {
    throw Error(
        "the company has no account of mails yet; set it first: mox mail --account URL --sender ADDRESS");
  }
  const RecordRow row = stored.RowAt(0);
  MailAccount account;
  account.url = TextOf(row, "url");
  account.user = TextOf(row, "korisnik");
  account.password = TextOf(row, "lozinka");
  account.sender = TextOf(row, "posiljatelj");
  account.ca_file = App().Ini().ReadString("GENERAL", "CA_FILE", "");
  const int seconds = App().Ini().ReadInteger("GENERAL", "TIMEOUT", 0);
  if (seconds > 0) account.seconds = account.connect_seconds = seconds;
  account_ = std::move(account);
  return account_;
}

bool Outbox::HasOtherTemplate(const OutboxMail& mail) const {
  const RecordSet own = Asked("PostaPredlozak", "adsPredlozak", {{"id", mail.id}});
  return !own.IsEmpty() && TextOf(own.RowAt(0), "predlozak") != paper_.Source();
}

Mail Outbox::MessageOf(const OutboxMail& mail) {
  const RecordSet own = Asked("PostaPredlozak", "adsPredlozak", {{"id", mail.id}});
  if (own.IsEmpty()) return MessageOn(mail, paper_, painter_);
  const PaperTemplate paper(TextOf(own.RowAt(0), "predlozak"), TextOf(own.RowAt(0), "predlozak_datoteka"));
  TextPainter painter(paper.Text("stranica", "font"));
  return MessageOn(mail, paper, painter);
}

Mail Outbox::MessageOn(const OutboxMail& mail, const PaperTemplate& paper, TextPainter& painter) {
  DocumentPage page = MakePage(mail.doc_id, paper);
  account_.name = page.seller.name;
  PdfFile file(paper.Text("stranica", "font"), page.date);
  file.Add(LayOutA4(page, paper, painter, CurrentLocale()));
  warnings_ = std::move(page.warnings);
  const std::string name = FileNameOf(page);
  Mail message{mail.to, mail.subject, mail.text, mail.message, {}};
  message.attachments.push_back({name, "application/pdf", file.Finish()});
  const RecordSet invoice = Asked("ERacunZaKupca", "adsData", {{"id", mail.doc_id}});
  if (!invoice.IsEmpty()) {
    message.attachments.push_back({name.substr(0, name.rfind('.')) + ".json", "application/json",
                                   TextOf(invoice.RowAt(0), "jsonData")});
  }
  return message;
}

MailOutcome Outbox::Send(const OutboxMail& mail) {
  const MailAccount& account = Account();
  warnings_.clear();
  const Mail message = MessageOf(mail);
  // From here on it may have been sent, whatever becomes of this program.
  RecordSet begin = RecordOf("adsPosta", {{"id", mail.id},
                                          {"potvrdeno", mail.Waits() ? std::string() : mail.state},
                                          {"storno_id", mail.storno_id ? Value(*mail.storno_id) : Value()}});
  const std::int64_t sending = StoreFor(mail, "PostaPocetak", begin);
  MailOutcome outcome;
  try {
    outcome = deliver_ ? deliver_(account, message) : SendMail(account, message);
  } catch (const Error& error) {
    outcome = {MailEnd::kNotSent, error.what()};
  }
  Secrets secrets;
  secrets.Add(account.password);
  secrets.AddThoseOf(account.url);
  outcome.answer = secrets.Blanked(outcome.answer);
  RecordSet end =
      RecordOf("adsSlanje", {{"id", sending},
                             {"stanje", std::string(kEnds[static_cast<std::size_t>(outcome.end)].state)},
                             {"odgovor", outcome.answer}});
  store_.Store("PostaKraj", end);
  return outcome;
}

}  // namespace mox
