#include "appserver/print_services.h"

#include <algorithm>
#include <functional>

#include "appserver/fold.h"
#include "appserver/stored_document.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

// --- what a page says ---

// A page leaves the house in the company's name.
void PreparePage(Database& database, ServiceInputs& inputs) {
  RequireDocument(database, inputs.As<std::int64_t>("id"));
  inputs.Company().RequireNamed();
}

void FillSeller(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  std::vector<Value> record;
  for (const char* name : {"NazivPoduzeca", "OIBPoduzeca", "AdresaPoduzeca", "MjestoPoduzeca"}) {
    record.emplace_back(inputs.Company().Parameter(name).value_or(""));
  }
  const RecordSet account = database.Query("iban", ParseColumns("iban,banka,swift"),
                                           "SELECT i.iban, b.naziv, b.swift FROM poduzece_ibani i "
                                           "LEFT JOIN banke b ON b.id = i.banka_id "
                                           "ORDER BY i.glavni DESC, i.id LIMIT 1");
  for (std::size_t i = 0; i < 3; ++i) {
    record.push_back(account.IsEmpty() ? Value() : account.RowAt(0).AsVariant(i));
  }
  answer.AppendRecord(record);
}

const NamedService kServices[] = {
    {"DokumentIspis",
     Right::kRead,
     "id:integer",
     "what a stored document says on paper besides its own records: seller, partner, place, the document "
     "that "
     "it cancels and the one that cancels it, what the tax administration knows of it, whether it is paid at "
     "once and when it was "
     "stored, "
     "and the payment slips that the company has",
     {{"Poduzece", "naziv,oib,adresa,mjesto,iban,banka,swift", "", FillSeller},
      {"Partner",
       "id:integer,sifra,naziv,oib,pdv_br,adresa,ptt,mjesto,drzava,oznaka_drzave,tip_tvrtke,email,matbr",
       R"(
SELECT p.id, p.sifra, p.naziv, p.oib, p.pdv_br,
  NULLIF(TRIM(COALESCE(p.adresa, '') || ' ' || COALESCE(p.adresabroj, '') || COALESCE(p.adresadodatakbroj, '')), ''),
  m.ptt, m.naziv, z.naziv, z.oznaka, p.tip_tvrtke, COALESCE(NULLIF(p.email_eracun, ''), p.email),
  p.matbr
FROM dok d JOIN par p ON p.id = d.par_id
LEFT JOIN mjesto m ON m.id = p.mjesto_id
LEFT JOIN drzave z ON z.id = COALESCE(p.drzava_id, m.drzava_id)
WHERE d.id = :id)"},
      {"Mjesto", "naziv,adresa,ptt,mjesto", R"(
SELECT s.naziv, s.adresa, m.ptt, m.naziv
FROM dok d JOIN skladiste s ON s.id = d.skl_id
LEFT JOIN mjesto m ON m.id = s.mjesto_id
WHERE d.id = :id)"},
      {"Izvornik", "id:integer,vrsta,broj:integer,godina:integer,datum:date,ukupno:currency,broj_racuna", R"(
SELECT o.id, o.vrsta, o.broj, o.godina, o.datum, o.ukupno, f.broj_racuna
FROM dok d JOIN dok o ON o.id = d.stornira_id
LEFT JOIN dok_fiskalno f ON f.dok_id = o.id
WHERE d.id = :id)"},
      {"Storno", "id:integer,vrsta,broj:integer,godina:integer,datum:date,broj_racuna", R"(
SELECT s.id, s.vrsta, s.broj, s.godina, s.datum, f.broj_racuna
FROM dok s LEFT JOIN dok_fiskalno f ON f.dok_id = s.id
WHERE s.stornira_id = :id)"},
      {"Fiskalno", "broj_racuna,zki,jir,vrijeme:datetime", R"(
SELECT broj_racuna, zki, jir, vrijeme FROM dok_fiskalno WHERE dok_id = :id)"},
      {"Upis", "placeno_odmah:boolean,vrijeme:datetime", R"(
SELECT COALESCE(d.placeno_odmah, n.odmah),
  (SELECT MIN(u.vrijeme) FROM dnevnik_upisa u
   WHERE u.dok_id = d.id AND u.upisano AND u.transakcija IN ('DokumentInsert', 'DokumentStorno'))
FROM dok d LEFT JOIN nacini_placanja n ON n.naziv = d.nacin_placanja
WHERE d.id = :id)"},
      {"Virmani", "id:integer,naziv", "SELECT id, naziv FROM virman ORDER BY id"}},
     PreparePage}};

// --- what the tax administration knows ---

bool IsHexadecimal(std::string_view text) {
  return text.find_first_not_of("0123456789abcdefABCDEF") == std::string_view::npos;
}

constexpr std::size_t kZkiSize = 32;

std::string ZkiFault(std::string_view text) {
  if (text.size() == kZkiSize && IsHexadecimal(text)) return {};
  return "is not 32 hexadecimal digits";
}

// 8-4-4-4-12 hexadecimal digits.
std::string JirFault(std::string_view text) {
  constexpr std::string_view kForm = "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx";
  const bool fits = text.size() == kForm.size() &&
                    std::equal(text.begin(), text.end(), kForm.begin(), [](char given, char form) {
                      return form == '-' ? given == '-' : IsHexadecimal(std::string_view(&given, 1));
                    });
  return fits ? std::string() : "is not of the form " + std::string(kForm);
}

// NUMBER/PREMISES/TILL as the tax administration takes them: a number that begins with no 0, at most 20
// digits and letters, at most 20 digits.
std::string NumberFault(std::string_view text) {
  constexpr std::size_t kMost = 20;
  constexpr std::string_view kDigits = "0123456789";
  constexpr std::string_view kCodes = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  const auto is_of = [](std::string_view part, std::string_view characters) {
    return !part.empty() && part.size() <= kMost &&
           part.find_first_not_of(characters) == std::string_view::npos;
  };
  const std::size_t first = std::min(text.find('/'), text.size());
  const std::size_t last = std::min(text.rfind('/'), text.size());
  const bool fits = first < last && is_of(text.substr(0, first), kDigits) && text.front() != '0' &&
                    is_of(text.substr(first + 1, last - first - 1), kCodes) &&
                    is_of(text.substr(last + 1), kDigits);
  return fits ? std::string() : "is not NUMBER/PREMISES/TILL";
}

struct FiscalField {
  std::string_view name;
  std::string (*fault)(std::string_view text);
  bool required = true;
};
constexpr FiscalField kFiscalFields[] = {
    {"broj_racuna", NumberFault}, {"zki", ZkiFault}, {"jir", JirFault, false}};

// Numbers of receipts begin anew each year; a protective code and a unique number are those of one receipt
// alone.
void RequireOwnReceipt(Database& database, std::int64_t doc_id, std::int64_t year,
                       const std::vector<std::string>& texts,
                       const std::function<void(std::string_view, std::string)>& refuse) {
  const RecordSet others = database.Query(
      "drugi", ParseColumns("dok_id:integer,zki,jir"),
      "SELECT f.dok_id, f.zki, f.jir FROM dok_fiskalno f JOIN dok d ON d.id = f.dok_id "
      "WHERE f.dok_id <> :id AND (LOWER(f.zki) = LOWER(:zki) OR LOWER(f.jir) = LOWER(:jir) OR "
      "(d.godina = :godina AND LOWER(f.broj_racuna) = LOWER(:broj))) ORDER BY f.dok_id LIMIT 1",
      {doc_id, texts[1], texts[2], year, texts[0]});
  if (others.IsEmpty()) return;
  const bool same_code = FoldKey(others.AsText(1)) == FoldKey(texts[1]);
  const bool same_jir = !texts[2].empty() && FoldKey(others.AsText(2)) == FoldKey(texts[2]);
  refuse(same_code ? "zki" : (same_jir ? "jir" : "broj_racuna"),
         "is that of document " + others.AsText(0) + " already");
}

// A receipt is reported once; its unique number may come with a later report of the same receipt.
std::optional<RecordSet> StoreFiscalData(const NamedTransaction& /*transaction*/, Database& database,
                                         const SentRecordSets& sent) {
  const RecordSet& records = *sent.Find("adsFiskalno");
  std::size_t row = 0;
  for (const RecordRow& record : records.Rows()) {
    ++row;
    const auto refuse = [&](std::string_view field, std::string message) {
      throw WriteRefused({"", records.Name(), row, std::string(field), std::move(message)});
    };
    const auto given = [&](std::string_view field) {
      const auto index = record.FindFieldIndex(field);
      return index ? record.AsVariant(*index) : Value();
    };
    std::vector<std::string> texts;
    for (const FiscalField& field : kFiscalFields) {
      const Value value = given(field.name);
      const bool none = std::holds_alternative<std::monostate>(value);
      std::string text = none ? std::string() : std::string(TrimBlanks(ToText(value)));
      if (text.empty() && field.required) refuse(field.name, "must not be empty");
      if (std::string fault = field.fault(text); !text.empty() && !fault.empty()) refuse(field.name, fault);
      texts.push_back(std::move(text));
    }
    for (const std::string_view field : {"dok_id", "vrijeme"}) {
      if (std::holds_alternative<std::monostate>(given(field))) refuse(field, "must not be empty");
    }
    const std::int64_t doc_id = ToInteger(given("dok_id"));
    const DateTime issued = ToDateTime(given("vrijeme"));
    const auto stored_document = ReadStoredDocument(database, doc_id);
    if (!stored_document) refuse("dok_id", "there is no document " + std::to_string(doc_id));
    if (stored_document->kind == nullptr || stored_document->kind->is != DocumentClass::kInvoice) {
      refuse("dok_id", "document " + std::to_string(doc_id) + " is no invoice: " + stored_document->vrsta);
    }
    const RecordSet stored = database.Query(
        "fiskalno", ParseColumns("broj_racuna,zki,jir,vrijeme:datetime"),
        "SELECT broj_racuna, zki, jir, vrijeme FROM dok_fiskalno WHERE dok_id = :id", {doc_id});
    const Value jir = texts[2].empty() ? Value() : Value(texts[2]);
    const RecordSet& header = stored_document->header;
    const Date day = header.AsDate(*header.FindFieldIndex("datum"));
    RequireOwnReceipt(database, doc_id, ToCivil(day).year, texts, refuse);
    if (stored.IsEmpty()) {
      if (DayOf(issued) != day) {
        refuse("vrijeme", ToText(issued) + " is not on the day of document " + std::to_string(doc_id) + ", " +
                              ToText(day));
      }
      database.Execute(
          "INSERT INTO dok_fiskalno (dok_id, broj_racuna, zki, jir, vrijeme) "
          "VALUES (:dok_id, :broj_racuna, :zki, :jir, :vrijeme)",
          {doc_id, texts[0], texts[1], jir, issued});
      continue;
    }
    const RecordRow before = stored.RowAt(0);
    if (before.AsText(0) != texts[0] || before.AsText(1) != texts[1] || before.AsDateTime(3) != issued) {
      refuse("dok_id", "document " + std::to_string(doc_id) + " is receipt " + before.AsText(0) +
                           " with the protective code " + before.AsText(1) + " already");
    }
    if (texts[2].empty() || before.AsText(2) == texts[2]) continue;
    if (!before.IsNull(2)) refuse("jir", "is " + before.AsText(2) + " already");
    database.Execute("UPDATE dok_fiskalno SET jir = :jir WHERE dok_id = :id", {jir, doc_id});
  }
  return std::nullopt;
}

const NamedTransaction kTransactions[] = {
    {"FiskalniPodaciUpis",
     Right::kEnterDocuments,
     "what the tax administration knows of receipts: number, protective code (ZKI), time of issue, and the "
     "unique number (JIR), now or later",
     {{"adsFiskalno", {"dok_fiskalno"}, true, "dok_id:integer,broj_racuna,zki,jir,vrijeme:datetime"}},
     StoreFiscalData}};

}  // namespace

std::span<const NamedService> PrintServices() { return kServices; }

std::span<const NamedTransaction> FiscalTransactionTable() { return kTransactions; }

}  // namespace mox
