#include "appserver/e_invoice.h"

#include <charconv>
#include <nlohmann/json.hpp>

#include "appserver/stored_document.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/rounding.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

using Json = nlohmann::ordered_json;

constexpr std::int64_t kDeliveryFailed = 50;

// --- the invoice ---

// A member of the invoice: the columns are its members in turn.
struct Part {
  const char* name;
  const char* columns;
  const char* sql;
};

constexpr Part kAccount = {"prijava", "korisnik,kljuc", R"(
SELECT eracun_user_name, eracun_key FROM integracije_racuni WHERE user_id = '')"};

constexpr Part kIban = {"iban", "iban", R"(
SELECT iban FROM poduzece_ibani ORDER BY glavni DESC, id LIMIT 1)"};

constexpr std::pair<const char*, const char*> kCompany[] = {{"naziv", "NazivPoduzeca"},
                                                            {"oib", "OIBPoduzeca"},
                                                            {"adresa", "AdresaPoduzeca"},
                                                            {"mjesto", "MjestoPoduzeca"}};

constexpr Part kBuyer = {"kupac", "sifra,naziv,tip_tvrtke,oib,adresa,ptt,mjesto,drzava,email", R"(
SELECT p.sifra, p.naziv, p.tip_tvrtke, p.oib,
  NULLIF(TRIM(COALESCE(p.adresa, '') || ' ' || COALESCE(p.adresabroj, '') || COALESCE(p.adresadodatakbroj, '')), ''),
  m.ptt, m.naziv, z.oznaka, COALESCE(NULLIF(p.email_eracun, ''), p.email)
FROM dok d JOIN par p ON p.id = d.par_id
LEFT JOIN mjesto m ON m.id = p.mjesto_id
LEFT JOIN drzave z ON z.id = COALESCE(p.drzava_id, m.drzava_id)
WHERE d.id = :id)"};

constexpr Part kHeader = {
    "dokument",
    "id:integer,vrsta,broj:integer,godina:integer,datum:date,datum_isporuke:date,datum_dospijeca:date,valuta,"
    "tecaj:float,"
    "nacin_placanja,poziv_na_br,opis,ukupno:currency",
    R"(
SELECT d.id, d.vrsta, d.broj, d.godina, d.datum, d.datum_isporuke, d.datum_dospijeca, v.oznaka, d.tecaj, d.nacin_placanja,
  d.poziv_na_br, d.opis, d.ukupno
FROM dok d LEFT JOIN valuta v ON v.id = d.valuta_id
WHERE d.id = :id)"};

constexpr Part kLines = {"stavke",
                         "rb:integer,sorta,sifra,naziv,jm,kolicina:float,pc:currency,pci:currency,rbp1:float,"
                         "rbp2:float,rbp3:float,"
                         "rbi1:currency,rbi2:currency,rbi3:currency,tbr_stp:float,osnovica:currency,pdvi:"
                         "currency,pov_naki:currency,"
                         "ukupno:currency",
                         R"(
SELECT rb, sorta, sifra, naziv, jm, kolicina, pc, pci, rbp1, rbp2, rbp3, rbi1, rbi2, rbi3, tbr_stp, osnovica,
  pdvi, pov_naki, ukupno
FROM dok_stavke WHERE dok_id = :id ORDER BY rb)"};

constexpr Part kTaxes = {
    "porezi",
    "stopa:float,oznaka_stope,vrsta,osnovica:currency,porez:currency,neoporezivo:currency,ukupno:currency",
    R"(
SELECT stopa, oznaka_stope, vrsta, osnovica, porez, neoporezivo, ukupno
FROM dok_porezi WHERE dok_id = :id ORDER BY rb)"};

RecordSet Read(Database& database, const Part& part, std::int64_t doc_id) {
  const Columns columns = ParseColumns(part.columns);
  const bool of_document = std::string_view(part.sql).find(":id") != std::string_view::npos;
  return of_document ? database.Query(part.name, columns, part.sql, {doc_id})
                     : database.Query(part.name, columns, part.sql);
}

// Without an exponent, the shortest that reads back to the same number.
std::string DecimalText(double value) {
  char text[400];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::fixed).ptr;
  return {text, end};
}

Json ToJson(const Value& value) {
  if (const auto* text = std::get_if<std::string>(&value)) return *text;
  if (const auto* integer = std::get_if<std::int64_t>(&value)) return *integer;
  if (const auto* flag = std::get_if<bool>(&value)) return *flag;
  if (const auto* number = std::get_if<double>(&value)) return DecimalText(*number);
  std::string text;
  AppendPlain(text, value);
  return text;
}

Json RecordJson(const RecordRow& record) {
  Json object = Json::object();
  for (std::size_t i = 0; i < record.FieldCount(); ++i) {
    if (!record.IsNull(i)) object[record.Definition(i).name] = ToJson(record.AsVariant(i));
  }
  return object;
}

Json FirstRecord(const RecordSet& records) {
  return records.IsEmpty() ? Json::object() : RecordJson(records.RowAt(0));
}

Json CompanyOf(Database& database, const CompanyData& company, std::int64_t doc_id) {
  company.RequireNamed();
  Json object = Json::object();
  for (const auto& [name, parameter] : kCompany) object[name] = *company.Parameter(parameter);
  const RecordSet iban = Read(database, kIban, doc_id);
  if (!iban.IsEmpty()) object[kIban.name] = iban.AsText(0);
  return object;
}

Json AllRecords(const RecordSet& records) {
  Json list = Json::array();
  for (const RecordRow& record : records.Rows()) list.push_back(RecordJson(record));
  return list;
}

Currency Sum(const RecordSet& records, std::string_view field) {
  Currency sum;
  const std::size_t index = *records.FindFieldIndex(field);
  for (const RecordRow& record : records.Rows()) sum += record.AsCurrency(index);
  return sum;
}

[[noreturn]] void RefuseInvoice(std::int64_t doc_id, const std::string& reason) {
  throw Error("document " + std::to_string(doc_id) + " " + reason);
}

// Only invoices to customers go out, and what cancels them.
void RequireInvoice(const StoredDocument& document) {
  const std::string kind = document.kind == nullptr ? document.vrsta : std::string(document.kind->title);
  if (document.kind == nullptr || document.figures_kind == nullptr ||
      document.kind->is != DocumentClass::kInvoice) {
    RefuseInvoice(document.id, "is no invoice: " + kind);
  }
  if (!document.kind->IsSale()) RefuseInvoice(document.id, "goes to no customer: " + kind);
}

struct Figures {
  Currency to_be_paid;
  Currency fees;
};

// A storno is the negative of what it cancels. One that was entered by hand names no document: it is at most
// nothing, or it would be a second sale.
void RequireCancelling(Database& database, const StoredDocument& document, Currency total) {
  if (!document.stornira_id) {
    if (document.kind->is_storno && total > Currency()) {
      RefuseInvoice(document.id, "cancels an invoice, but its total is " + total.ToString());
    }
    return;
  }
  const RecordSet goods = ReadLines(database, *document.stornira_id, "roba");
  const RecordSet services = ReadLines(database, *document.stornira_id, "usluga");
  const RecordSet taxes = ReadRows(database, "dok_porezi", *document.stornira_id);
  const Currency cancelled = ToBePaid(*document.figures_kind, {&goods, &services, &taxes}).value();
  if ((total + cancelled).IsZero()) return;
  RefuseInvoice(document.id,
                "cancels an invoice of " + cancelled.ToString() + ", but its total is " + total.ToString());
}

// By the one rule for them.
Figures CheckedFigures(Database& database, const StoredDocument& document) {
  const RecordSet goods = ReadLines(database, document.id, "roba");
  const RecordSet services = ReadLines(database, document.id, "usluga");
  const RecordSet taxes = ReadRows(database, "dok_porezi", document.id);
  const DocumentSets sets{&goods, &services, &taxes, document.supplier_document};
  try {
    CheckFigures(*document.figures_kind, sets);
  } catch (const Error& error) {
    RefuseInvoice(document.id, std::string("does not add up: ") + error.what());
  }
  const Currency total = ToBePaid(*document.figures_kind, sets).value();
  const std::size_t stored = *document.header.FindFieldIndex("ukupno");
  if (!document.header.IsNull(stored) && R2(document.header.AsCurrency(stored)) != total) {
    RefuseInvoice(document.id, "has the total " + document.header.AsCurrency(stored).ToString() +
                                   ", its lines have " + total.ToString());
  }
  RequireCancelling(database, document, total);
  return {total, Fees(*document.figures_kind, sets)};
}

// A fee that lines of the kind cannot have is none, whatever the screen has kept there.
Json LinesOf(const DocumentKind& kind, const RecordSet& records) {
  Json lines = AllRecords(records);
  for (Json& line : lines) {
    const LineSchema& schema = line.value("sorta", "") == "roba" ? kind.goods : kind.services;
    if (!HasFees(schema)) line.erase("pov_naki");
  }
  return lines;
}

Json Totals(const Figures& figures, const RecordSet& taxes) {
  Json totals = Json::object();
  totals["osnovica"] = Sum(taxes, "osnovica").ToString();
  totals["porez"] = Sum(taxes, "porez").ToString();
  totals["povratna_naknada"] = figures.fees.ToString();
  totals["iznos"] = figures.to_be_paid.ToString();
  return totals;
}

// --- the transactions ---

// A field of the only record as an integer; none where there is no such field or no value.
std::optional<std::int64_t> IntegerIn(const RecordSet& records, std::string_view name) {
  const auto field = records.FindFieldIndex(name);
  if (!field || TrimBlanks(records.AsText(*field)).empty()) return std::nullopt;
  try {
    return ToInteger(records.AsVariant(*field));
  } catch (const Error& error) {
    throw WriteRefused({"", records.Name(), 1, std::string(name), error.what()});
  }
}

std::int64_t RequiredIntegerIn(const RecordSet& records, std::string_view name) {
  RequireOneRecord(records);
  if (const auto value = IntegerIn(records, name)) return *value;
  throw WriteRefused({"", records.Name(), 1, std::string(name), "must not be empty"});
}

// Blank where there is no such field.
std::string TextIn(const RecordSet& records, std::string_view name) {
  const auto field = records.FindFieldIndex(name);
  return field ? std::string(TrimBlanks(records.AsText(*field))) : std::string();
}

// The number of the e-invoice that a document has.
std::optional<std::int64_t> LinkOf(Database& database, std::int64_t doc_id) {
  const RecordSet link = database.Query("veza", ParseColumns("electronic_id:integer"),
                                        "SELECT electronic_id FROM eracun_veze WHERE dok_id = :id", {doc_id});
  return link.IsEmpty() ? std::nullopt : std::optional(link.AsInteger(0));
}

std::string HasEInvoice(std::int64_t electronic_id) {
  return "the document has the e-invoice " + std::to_string(electronic_id);
}

// Refusing means to the client that the document has an e-invoice, so nothing else is refused here: whether
// there is such a document shows when its data are asked for.
std::optional<RecordSet> CheckNotLinked(const NamedTransaction& /*transaction*/, Database& database,
                                        const SentRecordSets& sent) {
  const RecordSet& asked = *sent.Find("ads");
  const std::int64_t doc_id = RequiredIntegerIn(asked, "VelorFormsID");
  if (const auto id = LinkOf(database, doc_id)) {
    throw WriteRefused({"", asked.Name(), 1, "VelorFormsID", HasEInvoice(*id)});
  }
  return std::nullopt;
}

// The whole answer is kept as JSON, whatever an intermediary put into it.
std::string AnswerJson(const RecordSet& answer) {
  constexpr int kNoIndent = -1;
  return FirstRecord(answer).dump(kNoIndent, ' ', false, Json::error_handler_t::replace);
}

std::optional<RecordSet> InsertLink(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  const RecordSet& answer = *sent.Find("adsMojERacun");
  const std::int64_t electronic_id = RequiredIntegerIn(answer, "electronicId");
  const std::optional<std::int64_t> status_id = IntegerIn(answer, "statusId");
  if (electronic_id < 1) throw WriteRefused({"", answer.Name(), 1, "electronicId", "is no e-invoice"});
  if (status_id == kDeliveryFailed)
    throw WriteRefused({"", answer.Name(), 1, "statusId", "was not delivered"});
  const std::int64_t doc_id = RequiredIntegerIn(*sent.Find("adsDocId"), "docId");
  if (LinkOf(database, doc_id) == electronic_id) return std::nullopt;  // two programs have asked after it
  // What is too large for its column stands in the whole answer all the same: the invoice was sent.
  const bool has_room = status_id && *status_id == static_cast<std::int32_t>(*status_id);
  database.Execute(
      "INSERT INTO eracun_veze (dok_id, electronic_id, status_id, odgovor) "
      "VALUES (:dok_id, :electronic_id, :status_id, :odgovor)",
      {doc_id, electronic_id, has_room ? Value(*status_id) : Value(), AnswerJson(answer)});
  database.Execute("DELETE FROM eracun_pokusaji WHERE dok_id = :id", {doc_id});
  return std::nullopt;
}

// An attempt takes the place of the one that its program has seen, so that of two programs at the same moment
// one has to look again.
std::optional<RecordSet> BeginAttempt(const NamedTransaction& /*transaction*/, Database& database,
                                      const SentRecordSets& sent) {
  const RecordSet& attempt = *sent.Find("adsPokusaj");
  const std::int64_t doc_id = RequiredIntegerIn(attempt, "docId");
  const std::string name = TextIn(attempt, "pokusaj");
  const auto refuse = [&](std::string field, std::string message) {
    throw WriteRefused({"", attempt.Name(), 1, std::move(field), std::move(message)});
  };
  if (name.empty()) refuse("pokusaj", "must not be empty");
  if (const auto id = LinkOf(database, doc_id)) refuse("docId", HasEInvoice(*id));
  const RecordSet before = database.Query("prije", ParseColumns("pokusaj"),
                                          "SELECT pokusaj FROM eracun_pokusaji WHERE dok_id = :id", {doc_id});
  if ((before.IsEmpty() ? std::string() : before.AsText(0)) != TextIn(attempt, "prethodni")) {
    refuse("prethodni", "another attempt to send the document has begun");
  }
  database.Execute("DELETE FROM eracun_pokusaji WHERE dok_id = :id", {doc_id});
  database.Execute(
      "INSERT INTO eracun_pokusaji (dok_id, pokusaj, sazetak, vrijeme, u_tijeku) "
      "VALUES (:dok_id, :pokusaj, :sazetak, :vrijeme, :u_tijeku)",
      {doc_id, name, TextIn(attempt, "sazetak"), LocalNow(), true});
  return std::nullopt;
}

// Another attempt, that has taken the place of this one, is left alone.
std::optional<RecordSet> EndAttempt(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  const RecordSet& attempt = *sent.Find("adsPokusaj");
  const std::int64_t doc_id = RequiredIntegerIn(attempt, "docId");
  const auto known = attempt.FindFieldIndex("poznat");
  const std::string change = known && !attempt.IsNull(*known) && ToBoolean(attempt.AsVariant(*known))
                                 ? "DELETE FROM eracun_pokusaji"
                                 : "UPDATE eracun_pokusaji SET u_tijeku = FALSE";
  database.Execute(change + " WHERE dok_id = :dok_id AND pokusaj = :pokusaj",
                   {doc_id, TextIn(attempt, "pokusaj")});
  return std::nullopt;
}

// A field that is not sent, or is null, leaves what is stored.
std::optional<RecordSet> SetAccount(const NamedTransaction& /*transaction*/, Database& database,
                                    const SentRecordSets& sent) {
  const RecordSet& account = *sent.Find("adsLoginData");
  RequireOneRecord(account);
  for (const AccountField& field : AccountFields()) {
    const auto sent_field = account.FindFieldIndex(field.name);
    if (sent_field && !account.IsNull(*sent_field)) {
      StoreAccountField(database, field, account.AsVariant(*sent_field));
    }
  }
  return std::nullopt;
}

const NamedTransaction kTransactions[] = {
    {"ERacunVezaSaMojERacunProvjera",
     Right::kEnterDocuments,
     "refused when the document has an e-invoice; stores nothing",
     {{"ads", {"eracun_veze"}}},
     CheckNotLinked},
    {"InsertERacunB2C",
     Right::kEnterDocuments,
     "links a document to the e-invoice that the intermediary made of it, once",
     {{"adsMojERacun", {"eracun_veze"}}, {"adsDocId", {"eracun_veze"}}},
     InsertLink},
    {"ERacunPokusajPocetak",
     Right::kEnterDocuments,
     "remembers, before an invoice is posted, that it may have been sent; refused when the document has an "
     "e-invoice, or its last attempt is not `prethodni`",
     {{"adsPokusaj", {"eracun_pokusaji"}, true, "docId,pokusaj,prethodni,sazetak"}},
     BeginAttempt},
    {"ERacunPokusajKraj",
     Right::kEnterDocuments,
     "forgets an attempt of which it is known (`poznat`) that there is no e-invoice of it; of any other one "
     "says "
     "that it has ended",
     {{"adsPokusaj", {"eracun_pokusaji"}, true, "docId,pokusaj,poznat"}},
     EndAttempt},
    {"UpdateIntegrationsUsersAccounts",
     Right::kAdminister,
     "changes the company's account with the intermediary of e-invoices",
     {{"adsLoginData", {"integracije_racuni"}}},
     SetAccount},
};

}  // namespace

std::string InvoiceJson(Database& database, const CompanyData& company, std::int64_t doc_id) {
  const auto stored = ReadStoredDocument(database, doc_id);
  if (!stored) throw Error("there is no document " + std::to_string(doc_id));
  RequireInvoice(*stored);
  RecordSet header = Read(database, kHeader, doc_id);
  RecordSet lines = Read(database, kLines, doc_id);
  RecordSet taxes = Read(database, kTaxes, doc_id);
  if (lines.IsEmpty()) RefuseInvoice(doc_id, "has no lines");
  if (taxes.IsEmpty()) RefuseInvoice(doc_id, "has no tax by rate");
  const Figures figures = CheckedFigures(database, *stored);

  Json invoice = Json::object();
  invoice[kAccount.name] = FirstRecord(Read(database, kAccount, doc_id));
  invoice["poduzece"] = CompanyOf(database, company, doc_id);
  invoice[kBuyer.name] = FirstRecord(Read(database, kBuyer, doc_id));
  Json& document = invoice[kHeader.name] = FirstRecord(header);
  document.erase("ukupno");
  if (!document.contains("valuta")) {
    document["valuta"] = GetValutaOznakaByDate(std::get<Date>(header.FieldByName("datum").AsVariant()));
  }
  invoice[kLines.name] = LinesOf(*stored->figures_kind, lines);
  Json& rates = invoice[kTaxes.name] = AllRecords(taxes);
  for (Json& rate : rates) rate.erase("ukupno");  // holds fees too
  invoice["ukupno"] = Totals(figures, taxes);
  try {
    return invoice.dump();
  } catch (const Json::type_error&) {
    RefuseInvoice(doc_id, "has a text that is not UTF-8");
  }
}

void FillInvoiceData(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  answer.AppendRecord({InvoiceJson(database, inputs.Company(), inputs.As<std::int64_t>("id"))});
}

void FillInvoiceForBuyer(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  constexpr int kIndent = 2;
  const auto doc_id = inputs.As<std::int64_t>("id");
  if (!LinkOf(database, doc_id)) return;
  Json invoice = Json::parse(InvoiceJson(database, inputs.Company(), doc_id));
  invoice.erase(kAccount.name);
  answer.AppendRecord({invoice.dump(kIndent)});
}

std::span<const AccountField> AccountFields() {
  static constexpr AccountField kFields[] = {
      {"EracunSendB2CBills", "eracun_send_b2c_bills", "šalje li poduzeće e-račune građanima", true},
      {"EracunB2CUrl", "eracun_b2c_url", "adresa posrednika"},
      {"EracunUserName", "eracun_user_name", "korisničko ime kod posrednika"},
      {"EracunKey", "eracun_key", "ključ kod posrednika", false, true}};
  return kFields;
}

void StoreAccountField(Database& database, const AccountField& field, const Value& value) {
  database.Execute(
      "UPDATE integracije_racuni SET " + std::string(field.column) + " = :value WHERE user_id = ''",
      {field.is_flag ? Value(ToBoolean(value)) : Value(ToText(value))});
}

void AddAccountSecrets(Database& database, Secrets& secrets) {
  const RecordSet accounts = database.Query("racuni", ParseColumns("kljuc,adresa"),
                                            "SELECT eracun_key, eracun_b2c_url FROM integracije_racuni");
  for (const RecordRow& account : accounts.Rows()) {
    secrets.Add(account.AsTextView(0));
    secrets.AddThoseOf(account.AsTextView(1));
  }
}

std::span<const NamedTransaction> EInvoiceTransactionTable() { return kTransactions; }

}  // namespace mox
