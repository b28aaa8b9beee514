#include "appserver/document_transactions.h"

#include <algorithm>
#include <span>

#include "appserver/book_currency.h"
#include "appserver/open_items.h"
#include "appserver/payment_reference.h"
#include "appserver/stock.h"
#include "appserver/stored_document.h"
#include "appserver/supplier_document.h"
#include "mox/codes/exchange_rates.h"
#include "mox/documents/storno.h"
#include "mox/foundation/digest.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

// What a header tells beside its columns: that a storno by hand which sells was confirmed.
constexpr std::string_view kConfirmed = "potvrdeno";

struct DocumentKey {
  std::int64_t id = 0;
  const DocumentKind* kind = nullptr;
  std::int64_t godina = 0;
  std::int64_t broj = 0;
  Date datum;
  std::optional<Date> due = {};  // of what is paid later
  bool links_wait = false;
};

[[noreturn]] void RefuseHeader(const RecordSet& header, std::string_view field, std::string message) {
  throw WriteRefused({"", header.Name(), 1, std::string(field), std::move(message)});
}

bool HasValue(const RecordSet& header, std::string_view name) {
  const auto field = header.FindFieldIndex(name);
  return field && !TrimBlanks(header.AsText(*field)).empty();
}

std::string SupplierDocument(const RecordSet& header) {
  const auto field = header.FindFieldIndex("vrsta_dok_dob");
  return field ? header.AsText(*field) : std::string();
}

// A field of the header as another kind; an error names the field.
template <typename Result>
Result HeaderValue(const RecordSet& header, std::string_view name, Result (*convert)(const Value&)) {
  if (!HasValue(header, name)) RefuseHeader(header, name, "must not be empty");
  try {
    return convert(header.AsVariant(*header.FindFieldIndex(name)));
  } catch (const Error& error) {
    RefuseHeader(header, name, error.what());
  }
}

void CheckYears(const RecordSet& header) {
  for (const char* const name : {"datum", "datum_isporuke", "datum_dospijeca", "datum_dok_dob"}) {
    if (!HasValue(header, name)) continue;
    const std::string fault = YearFault(HeaderValue(header, name, ToDate));
    if (!fault.empty()) RefuseHeader(header, name, fault);
  }
}

// Nobody has to pay before he is asked to; documents of suppliers may have been due before they came.
void CheckDueDate(const RecordSet& header, const DocumentKey& key) {
  if (key.kind->is != DocumentClass::kInvoice || !HasValue(header, "datum_dospijeca")) return;
  const Date due = HeaderValue(header, "datum_dospijeca", ToDate);
  if (due >= key.datum) return;
  RefuseHeader(header, "datum_dospijeca",
               ToText(due) + " is before the date of the document, " + ToText(key.datum));
}

// The kind, the date and the year of the header, which belong together; numbers are of a kind and year.
DocumentKey ReadKey(const RecordSet& header, const DocumentKind& kind) {
  CheckYears(header);
  DocumentKey key{.kind = &kind, .datum = HeaderValue(header, "datum", ToDate)};
  key.godina = ToCivil(key.datum).year;
  if (!HasValue(header, "godina")) return key;
  const std::int64_t year = HeaderValue(header, "godina", ToInteger);
  if (year == key.godina) return key;
  RefuseHeader(header, "godina",
               '"' + std::to_string(year) + "\" is not the year of the date " + ToText(key.datum));
}

const DocumentKind& ReadKind(const RecordSet& header) {
  const std::string name = HeaderValue(header, "vrsta", ToText);
  if (const DocumentKind* const kind = FindDocumentKind(name)) return *kind;
  RefuseHeader(header, "vrsta", '"' + name + "\" is no kind of document");
}

// The first of a kind and year goes on behind the documents that are there, whoever stored them. Asked at the
// same time is whether links wait for the document.
void TakeNumber(Database& database, const std::string& user, DocumentKey& key) {
  const RecordSet taken = database.Query(
      "broj", ParseColumns("zadnji:integer,ceka:boolean"),
      "INSERT INTO dok_brojac (vrsta, godina, zadnji) VALUES (:vrsta, :godina, 1 + COALESCE("
      "(SELECT MAX(broj) FROM dok WHERE vrsta = :vrsta AND godina = :godina), 0)) "
      "ON CONFLICT (vrsta, godina) DO UPDATE SET zadnji = dok_brojac.zadnji + 1 RETURNING zadnji, "
      "CASE WHEN EXISTS (SELECT 1 FROM dok_veze_kasnije WHERE user_id = :user_id AND child_tip = :child_tip) "
      "THEN 1 ELSE 0 END",
      {std::string(key.kind->name), key.godina, user, std::string(key.kind->tip)});
  key.broj = taken.AsInteger(0);
  key.links_wait = taken.AsBoolean(1);
}

// Whose links wait for the document.
std::string UserOf(const RecordSet& header, const Requester& who) {
  if (who.HasLoggedIn()) return who.code;
  const auto field = header.FindFieldIndex("user_id");
  return field ? header.AsText(*field) : std::string();
}

// Until the document is stored an attempt under the same key waits. Without a key the row that counts is
// enough, which is taken later.
void ClaimNumbers(Database& database, const DocumentKey& key, const std::string& digest) {
  if (digest.empty()) return;
  database.Claim({"dok/" + std::string(key.kind->name) + '/' + std::to_string(key.godina)});
}

// Under the next number of its kind and year.
void InsertHeader(Database& database, const RecordSet& header, TableRule rule, const Requester& who,
                  DocumentKey& key) {
  if (who.HasLoggedIn()) rule.constants.emplace_back("user_id", who.code);
  TakeNumber(database, UserOf(header, who), key);
  rule.constants.emplace_back("vrsta", std::string(key.kind->name));
  rule.constants.emplace_back("godina", key.godina);
  rule.constants.emplace_back("broj", key.broj);
  key.id = InsertRecord(database, header, rule);
}

// The links that the user asked for before he made this document.
void MakePendingLinks(Database& database, const DocumentKey& key, const RecordSet& header,
                      const Requester& who) {
  // Hardly ever are there any, and documents of one user are not to wait for each other for nothing.
  if (!key.links_wait) return;
  const std::string user = UserOf(header, who);
  const std::string tip(key.kind->tip);
  database.Claim({"veze/" + user});
  database.Execute(
      "INSERT INTO dok_veze (parent_table, parent_column, parent_doc_id, child_tip, child_doc_id) "
      "SELECT v.parent_table, v.parent_column, v.parent_doc_id, v.child_tip, CAST(:dok_id AS BIGINT) "
      "FROM dok_veze_kasnije v "
      "WHERE v.user_id = :user_id AND v.child_tip = :child_tip ORDER BY v.id",
      {key.id, user, tip});
  database.Execute("DELETE FROM dok_veze_kasnije WHERE user_id = :user_id AND child_tip = :child_tip",
                   {user, tip});
}

RecordSet Answer(const DocumentKey& key) {
  RecordSet stored("Dokument");
  for (FieldDef& column :
       ParseColumns("id:integer,vrsta,godina:integer,broj:integer,datum:date,datum_dospijeca:date")) {
    stored.DefineField(std::move(column));
  }
  stored.Open();
  stored.AppendRecord({key.id, std::string(key.kind->name), key.godina, key.broj, key.datum,
                       key.due ? Value(*key.due) : Value()});
  stored.First();
  return stored;
}

// --- a new document ---

// The sort of a line is that of its record set. One that says another would be stored as what it is not.
void CheckSortsOfLines(const SentRecordSets& sent) {
  constexpr std::pair<const char*, const char*> kSorts[] = {{"Stavke", "roba"}, {"Usluge", "usluga"}};
  for (const auto& [name, sort] : kSorts) {
    const RecordSet* const lines = sent.Find(name);
    const auto field = lines == nullptr ? std::nullopt : lines->FindFieldIndex("sorta");
    if (!field) continue;
    for (std::size_t row = 0; row < lines->RowCount(); ++row) {
      const std::string given = lines->RowAt(row).AsText(*field);
      if (TrimBlanks(given).empty() || given == sort) continue;
      throw WriteRefused({"", name, row + 1, "sorta",
                          '"' + given + "\" is sent, but lines of " + name + " are \"" + sort + '"'});
    }
  }
}

// Lines and totals must be those of the kind.
void CheckSorts(const DocumentKind& kind, const SentRecordSets& sent) {
  const auto check = [&](const char* name, bool has) {
    if (has || sent.Find(name) == nullptr) return;
    throw WriteRefused({"", name, 0, "", std::string(kind.name) + " has no such record set"});
  };
  check("Stavke", kind.goods.Exists());
  check("Usluge", kind.services.Exists());
  check("Rekapitulacija", kind.recap.Exists());
  check("DokDobavljaca", HasSupplierTotals(kind));
  for (const char* const name : {"Stavke", "Usluge"}) {
    const RecordSet* const lines = sent.Find(name);
    if (lines != nullptr && !lines->IsEmpty()) return;
  }
  throw WriteRefused({"", "", 0, "", "the document has no lines"});
}

bool IsSaid(const RecordSet& header, std::string_view name) {
  return HasValue(header, name) && HeaderValue(header, name, ToBoolean);
}

// A storno by hand that sells is stored only when the user has said so.
void CheckQuantities(const DocumentKind& kind, const RecordSet& header, const SentRecordSets& sent) {
  if (IsSaid(header, kConfirmed)) return;
  for (const char* const name : {"Stavke", "Usluge"}) {
    if (const auto line = FindSellingLine(kind, sent.Find(name))) {
      throw WriteRefused({"", name, line->row, std::string(line->field),
                          "is positive, and " + std::string(kind.name) +
                              " cancels; potvrdeno of Zaglavlje says that it was confirmed"});
    }
  }
}

// A document in another currency counts in the books by its rate; where the header names none it is that of
// the rate list.
void AddRate(Database& database, const RecordSet& header, const DocumentKey& key, TableRule& rule) {
  if (HasValue(header, "tecaj")) {
    const std::string fault = RateFault(HeaderValue(header, "tecaj", ToFloat));
    if (!fault.empty()) RefuseHeader(header, "tecaj", fault);
    return;
  }
  if (!HasValue(header, "valuta_id")) return;
  try {
    const auto rate = RateForBooks(database, HeaderValue(header, "valuta_id", ToInteger), key.datum);
    if (rate) rule.constants.emplace_back("tecaj", *rate);
  } catch (const Error& error) {
    RefuseHeader(header, "tecaj", error.what());
  }
}

// A rate belongs to a currency, and some have but one.
void CheckRate(Database& database, const RecordSet& header, const DocumentKey& key) {
  if (!HasValue(header, "tecaj")) return;
  if (!HasValue(header, "valuta_id"))
    RefuseHeader(header, "tecaj", "is sent without its currency, valuta_id");
  const RecordSet currency =
      database.Query("valuta", ParseColumns("oznaka"), "SELECT oznaka FROM valuta WHERE id = :id",
                     {HeaderValue(header, "valuta_id", ToInteger)});
  if (currency.IsEmpty()) return;
  const std::string fault =
      RateInBooksFault(currency.AsTextView(0), key.datum, HeaderValue(header, "tecaj", ToFloat));
  if (!fault.empty()) RefuseHeader(header, "tecaj", fault);
}

// What a customer is to pay by, banks must take.
void CheckReference(Database& database, const DocumentKind& kind, const RecordSet& header) {
  const bool is_paid_by_it = kind.IsSale() || kind.is == DocumentClass::kProForma;
  if (!is_paid_by_it || !HasValue(header, "poziv_na_br")) return;
  const std::string text = HeaderValue(header, "poziv_na_br", ToText);
  const std::string fault = PaymentReferenceFault(database, std::string(TrimBlanks(text)));
  if (!fault.empty()) RefuseHeader(header, "poziv_na_br", fault);
}

// How the header says that it is paid, by the name that the codebook has.
std::optional<KindOfPay> PayOf(Database& database, const RecordSet& header, TableRule& rule) {
  if (!HasValue(header, "nacin_placanja")) return std::nullopt;
  const std::string text = header.AsText(*header.FindFieldIndex("nacin_placanja"));
  const std::optional<KindOfPay> pay = FindKindOfPay(database, text);
  if (!pay) RefuseHeader(header, "nacin_placanja", '"' + text + "\" is no kind of pay (nacini_placanja)");
  rule.constants.emplace_back("nacin_placanja", pay->name);
  return pay;
}

// An invoice is paid as its header says, else as its kind of document is; of own use nobody owes anything.
void AddPayment(Database& database, const DocumentKind& kind, const RecordSet& header, TableRule& rule) {
  const std::optional<KindOfPay> pay = PayOf(database, header, rule);
  if (kind.is != DocumentClass::kInvoice) return;
  const bool is_later = pay ? !pay->at_once : kind.is_paid_later;
  rule.constants.emplace_back("placeno_odmah", kind.is_own_use || !is_later);
}

// What is to be paid, which the header may say too.
std::optional<Currency> CheckedTotal(const DocumentKind& kind, const RecordSet& header,
                                     const SentRecordSets& sent) {
  const DocumentSets sets{sent.Find("Stavke"), sent.Find("Usluge"), sent.Find("Rekapitulacija"),
                          SupplierDocument(header)};
  CheckFigures(kind, sets);
  const std::optional<Currency> total = ToBePaid(kind, sets);
  if (!HasValue(header, "ukupno")) return total;
  const Currency given = HeaderValue(header, "ukupno", ToCurrency);
  if (!total) {
    RefuseHeader(header, "ukupno",
                 given.ToString() + " is sent, but " + std::string(kind.name) + " has no total");
  }
  if (given != *total) {
    RefuseHeader(header, "ukupno", given.ToString() + " is not what the lines cost, " + total->ToString());
  }
  return total;
}

std::optional<std::int64_t> WarehouseOfHeader(const RecordSet& header) {
  if (!HasValue(header, "skl_id")) return std::nullopt;
  return HeaderValue(header, "skl_id", ToInteger);
}

// Two attempts under a key are the same when their headers and lines are. Empty without a key.
std::string DigestOfAttempt(const RecordSet& header, const SentRecordSets& sent) {
  if (!HasValue(header, "kljuc")) return {};
  TextDigest digest;
  for (const char* const name : {"Zaglavlje", "Stavke", "Usluge"}) digest.Add(sent.TextOf(name));
  return digest.Digits();
}

// The document that an attempt of that key has stored; none where it is the first. Raises WriteRefused where
// the key is that of another document, which would be lost.
std::optional<RecordSet> StoredBefore(Database& database, const RecordSet& header, const DocumentKey& key,
                                      const std::string& digest) {
  if (digest.empty()) return std::nullopt;
  const std::string name = header.AsText(*header.FindFieldIndex("kljuc"));
  RecordSet stored = database.Query(
      "Dokument",
      ParseColumns("id:integer,vrsta,godina:integer,broj:integer,datum:date,kljuc_sazetak,dospijeva:date"),
      "SELECT d.id, d.vrsta, d.godina, d.broj, d.datum, d.kljuc_sazetak, o.datum_dos FROM dok d "
      "LEFT JOIN otvorene_stavke o ON o.dok_id = d.id AND o.duguje <> 0 AND d.stornira_id IS NULL "
      "WHERE d.kljuc = :kljuc",
      {name});
  if (stored.IsEmpty()) return std::nullopt;
  if (stored.AsTextView(1) != key.kind->name || stored.AsTextView(5) != digest) {
    RefuseHeader(header, "kljuc",
                 '"' + name + "\" is the key of another document, " + stored.AsText(1) + ' ' +
                     stored.AsText(3) + '/' + stored.AsText(2) + " (id " + stored.AsText(0) + ')');
  }
  return Answer({.id = stored.AsInteger(0),
                 .kind = key.kind,
                 .godina = stored.AsInteger(2),
                 .broj = stored.AsInteger(3),
                 .datum = stored.AsDate(4),
                 .due = stored.IsNull(6) ? std::nullopt : std::optional(stored.AsDate(6))});
}

// Goods, services or both, the goods first; the lines of services are numbered on.
std::optional<RecordSet> InsertDocument(const NamedTransaction& transaction, Database& database,
                                        const SentRecordSets& sent) {
  const RecordSet& header = *sent.Find("Zaglavlje");
  RequireOneRecord(header);
  const DocumentKind& kind = ReadKind(header);
  DocumentKey key = ReadKey(header, kind);
  CheckDueDate(header, key);
  CheckSorts(kind, sent);
  CheckSortsOfLines(sent);
  CheckQuantities(kind, header, sent);
  const std::string digest = DigestOfAttempt(header, sent);
  ClaimNumbers(database, key, digest);
  if (auto stored = StoredBefore(database, header, key, digest)) return stored;
  TableRule header_rule = transaction.FindRule("Zaglavlje")->table;
  const auto total = CheckedTotal(kind, header, sent);
  if (total) header_rule.constants = {{"ukupno", *total}};
  AddPayment(database, kind, header, header_rule);
  CheckRate(database, header, key);
  AddRate(database, header, key, header_rule);
  CheckReference(database, kind, header);
  const std::optional<RecordSet> supplier_totals =
      CheckedSupplierTotals(database, kind, SupplierDocument(header), sent);
  if (!digest.empty()) header_rule.constants.emplace_back("kljuc_sazetak", digest);
  const LineArticles articles(database, sent.Find("Stavke"));
  const auto warehouse = WarehouseOf(database, kind, articles, WarehouseOfHeader(header));
  if (warehouse) header_rule.constants.emplace_back("skl_id", *warehouse);
  InsertHeader(database, header, header_rule, sent.Who(), key);
  std::int64_t next_line = 1;
  for (const char* const name : {"Stavke", "Usluge", "Rekapitulacija", "DokDobavljaca"}) {
    TableRule rule = transaction.FindRule(name)->table;
    rule.constants.emplace_back("dok_id", key.id);
    if (rule.table == "dok_dobavljac") {
      if (supplier_totals) InsertRecord(database, *supplier_totals, rule);
      continue;
    }
    const RecordSet* const records = sent.Find(name);
    if (records == nullptr) continue;
    rule.first_row_number = rule.table == "dok_stavke" ? next_line : 1;
    StoreRecordsAhead(database, *records, rule);
    if (rule.table == "dok_stavke") next_line += static_cast<std::int64_t>(records->RecordCount());
  }
  articles.StoreKeys(database, key.id);
  if (warehouse && articles.HasArticles()) {
    MoveStock(database, kind, key.id, *warehouse, IsSaid(header, kStockMayBeNegative));
  }
  if (total && !total->IsZero()) key.due = OpenItem(database, sent, key.id);
  MakePendingLinks(database, key, header, sent.Who());
  return Answer(key);
}

// --- the storno of a stored document ---

void RequireCancellable(Database& database, const StoredDocument& original, const RecordSet& header) {
  const std::string id = std::to_string(original.id);
  if (original.stornira_id || original.kind->is_storno) {
    RefuseHeader(header, "stornira_id", "document " + id + " cancels another and is not cancelled itself");
  }
  const RecordSet storno =
      database.Query("storno", ParseColumns("id:integer,vrsta,broj:integer,godina:integer"),
                     "SELECT id, vrsta, broj, godina FROM dok WHERE stornira_id = :id", {original.id});
  if (storno.IsEmpty()) return;
  RefuseHeader(header, "stornira_id",
               "document " + id + " is already cancelled, by " + storno.AsText(1) + ' ' + storno.AsText(2) +
                   '/' + storno.AsText(3) + " (id " + storno.AsText(0) + ')');
}

// A mirror cancels what the document did to its partner, its warehouse and the tax of its supplier. Its
// amounts are those of the document, so they are in its currency, which has to be what amounts of the
// storno's day are in where none is named.
void RequireSameParties(const StoredDocument& original, const RecordSet& asked, Date day) {
  const RecordSet& header = original.header;
  for (const std::string_view name : {"par_id", "skl_id", "vrsta_dok_dob", "valuta_id", "tecaj"}) {
    if (!HasValue(asked, name)) continue;
    const std::size_t field = *header.FindFieldIndex(name);
    const bool is_same = header.Definition(field).kind == FieldKind::kText
                             ? HeaderValue(asked, name, ToText) == header.AsText(field)
                             : HeaderValue(asked, name, ToFloat) == header.AsFloat(field);
    if (header.IsNull(field) || !is_same) {
      RefuseHeader(asked, name, "is that of the document that is cancelled");
    }
  }
  const std::string_view then = GetValutaOznakaByDate(header.AsDate(*header.FindFieldIndex("datum")));
  const std::string_view now = GetValutaOznakaByDate(day);
  if (then == now) return;
  RefuseHeader(asked, "datum",
               "books of " + ToText(day) + " are kept in " + std::string(now) + ", document " +
                   std::to_string(original.id) + " is in those in " + std::string(then) +
                   ": its storno is of a day of theirs");
}

// What the storno does not say itself it has from the document, its operator too where nobody has logged in.
RecordSet StornoHeader(const RecordSet& asked, const RecordSet& original, const Requester& who) {
  constexpr std::string_view kTaken[] = {"user_id",        "skl_id",       "par_id",        "valuta_id",
                                         "tecaj",          "broj_dok_dob", "datum_dok_dob", "vrsta_dok_dob",
                                         "nacin_placanja", "poziv_na_br",  "opis",          "datum_isporuke"};
  RecordSet header(asked.Name());
  std::vector<Value> values;
  for (std::size_t i = 0; i < asked.FieldCount(); ++i) {
    header.DefineField(asked.Definition(i));
    values.push_back(asked.AsVariant(i));
  }
  for (const std::string_view name : std::span(kTaken).subspan(who.HasLoggedIn() ? 1 : 0)) {
    const Value value = original.AsVariant(*original.FindFieldIndex(name));
    const auto given = asked.FindFieldIndex(name);
    if (!given) {
      header.DefineField(original.Definition(*original.FindFieldIndex(name)));
      values.push_back(value);
    } else if (asked.IsNull(*given)) {
      values[*given] = value;
    }
  }
  header.Open();
  header.AppendRecord(values);
  header.First();
  return header;
}

void StoreMirror(Database& database, std::string_view table, const RecordSet& mirror, std::int64_t doc_id) {
  if (mirror.IsEmpty()) return;
  TableRule rule{.table = table};
  rule.constants = {{"dok_id", doc_id}};
  StoreRecordsAhead(database, mirror, rule);
}

std::optional<RecordSet> InsertStorno(const NamedTransaction& transaction, Database& database,
                                      const SentRecordSets& sent) {
  const RecordSet& asked = *sent.Find("Zaglavlje");
  RequireOneRecord(asked);
  const std::int64_t id = HeaderValue(asked, "stornira_id", ToInteger);
  const auto original = ReadStoredDocument(database, id);
  if (!original) RefuseHeader(asked, "stornira_id", "there is no document " + std::to_string(id));
  if (original->kind == nullptr) {
    RefuseHeader(asked, "stornira_id",
                 "document " + std::to_string(id) + " is of no known kind, \"" + original->vrsta + '"');
  }
  DocumentKey key = ReadKey(asked, StornoKindOf(*original->kind));
  database.Claim({"storno/" + std::to_string(id)});
  const std::string digest = DigestOfAttempt(asked, sent);
  ClaimNumbers(database, key, digest);
  if (auto stored = StoredBefore(database, asked, key, digest)) return stored;
  RequireCancellable(database, *original, asked);
  if (key.datum.days < original->header.AsDate(*original->header.FindFieldIndex("datum")).days) {
    RefuseHeader(asked, "datum",
                 ToText(key.datum) + " is before the date of the document that is cancelled, " +
                     original->header.AsText(*original->header.FindFieldIndex("datum")));
  }

  RequireSameParties(*original, asked, key.datum);

  TableRule rule = transaction.FindRule("Zaglavlje")->table;
  PayOf(database, asked, rule);
  rule.constants.emplace_back("placeno_odmah",
                              original->header.AsVariant(*original->header.FindFieldIndex("placeno_odmah")));
  RecordSet header = StornoHeader(asked, original->header, sent.Who());
  if (HasValue(header, "tecaj")) AddRate(database, header, key, rule);
  if (HasValue(asked, "poziv_na_br")) CheckReference(database, *key.kind, asked);
  const std::size_t total = *original->header.FindFieldIndex("ukupno");
  rule.constants.emplace_back(
      "ukupno", original->header.IsNull(total) ? Value() : Value(-original->header.AsCurrency(total)));
  if (!digest.empty()) rule.constants.emplace_back("kljuc_sazetak", digest);
  InsertHeader(database, header, rule, sent.Who(), key);
  StoreMirror(database, "dok_stavke", MirrorOf(ReadRows(database, "dok_stavke", id)), key.id);
  StoreMirror(database, "dok_porezi", MirrorOf(ReadRows(database, "dok_porezi", id)), key.id);
  StoreMirror(database, "dok_dobavljac", MirrorOfTotals(ReadRows(database, "dok_dobavljac", id)), key.id);
  MoveStockBack(database, id, key.id, IsSaid(asked, kStockMayBeNegative));
  CloseItem(database, id, key.id);
  MakePendingLinks(database, key, asked, sent.Who());
  return Answer(key);
}

// --- links ---

// Links wait under the code of their kind, whatever name of it was sent.
std::optional<RecordSet> RememberLinks(const NamedTransaction& transaction, Database& database,
                                       const SentRecordSets& sent) {
  const RecordSet& sent_links = *sent.Find("FTransTempVezeDataSet");
  RecordSet links(sent_links.Name());
  links.CleanClone(sent_links);
  const auto tip = links.FindFieldIndex("child_tip");
  for (; tip && !links.Eof(); links.Next()) {
    if (links.IsNull(*tip)) continue;
    const std::string given = links.AsText(*tip);
    const DocumentKind* const kind = FindDocumentTip(given);
    if (kind == nullptr) {
      throw WriteRefused({"", links.Name(), links.Position() + 1, "child_tip",
                          '"' + given + "\" is not the code of a kind of document"});
    }
    links.Edit();
    links.SetText(*tip, kind->tip);
    links.Post();
  }
  TableRule rule = transaction.FindRule("FTransTempVezeDataSet")->table;
  if (sent.Who().HasLoggedIn()) rule.constants.emplace_back("user_id", sent.Who().code);
  StoreRecords(database, links, rule);
  return std::nullopt;
}

FieldDef Told(std::string_view name) { return {.name = std::string(name), .kind = FieldKind::kBoolean}; }

// Fields of a header that the server writes itself, and those that the transaction besides does not take.
std::vector<RefusedField> WithOwnFields(std::vector<RefusedField> refused) {
  for (const std::string_view name : {"broj", "kljuc_sazetak", "placeno_odmah"}) {
    refused.push_back({name, "is given when the document is stored"});
  }
  return refused;
}

constexpr std::string_view kOfTheOriginal = "is that of the document that is cancelled";

// Lines and recapitulations have fields of screens too, which are not kept.
TableRule LinesOf(const char* sort) {
  return {.table = "dok_stavke",
          .unknown_fields = UnknownFields::kIgnore,
          .constants = {{"sorta", sort}},
          .row_number = "rb",
          .fields = {{.field = "vrsta_stavke", .is_small = true}}};
}

const NamedTransaction kTransactions[] = {
    {"UpisParentFieldForVD",
     Right::kEnterDocuments,
     "remembers that a user's next document of a kind belongs to a record",
     {{"FTransTempVezeDataSet", {"dok_veze_kasnije"}}},
     RememberLinks},

    {"DokumentInsert",
     Right::kEnterDocuments,
     "stores a document under the next number of its kind and year, and makes the links that wait for it",
     {{.name = "Zaglavlje",
       .table = {.table = "dok", .told = {Told(kConfirmed), Told(kStockMayBeNegative)}},
       .refused = WithOwnFields({{"stornira_id", "is written by the transaction DokumentStorno alone"}})},
      {"Stavke", LinesOf("roba"), false},
      {"Usluge", LinesOf("usluga"), false},
      {"Rekapitulacija", {"dok_porezi", UnknownFields::kIgnore, {}, "rb"}, false},
      {"DokDobavljaca", {"dok_dobavljac"}, false},
      {kConfirmations, {"otvorene_stavke"}, false, "saldo:currency"}},
     InsertDocument,
     Writing::kBesideOthers},

    {"DokumentStorno",
     Right::kEnterDocuments,
     "cancels a stored document, stornira_id, by its exact mirror under a number of its own; once",
     {{.name = "Zaglavlje",
       .table = {.table = "dok", .told = {Told(kStockMayBeNegative)}},
       .refused = WithOwnFields({{"vrsta", kOfTheOriginal}, {"ukupno", kOfTheOriginal}})}},
     InsertStorno,
     Writing::kBesideOthers},
};

}  // namespace

std::span<const NamedTransaction> DocumentTransactionTable() { return kTransactions; }

}  // namespace mox
