#include "appserver/document_list.h"

#include "appserver/book_currency.h"
#include "appserver/fold.h"
#include "appserver/partner_balances.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kColumns =
    "id:integer,vrsta,godina:integer,broj:integer,datum:date,datum_dospijeca:date,par_naziv,ukupno:currency,"
    "placeno:currency,otvoreno:currency,stornira_id:integer,storno_id:integer";

// All amounts are in euros, so that they can be added. What was paid at once is paid; of what is paid later
// the open items of its number say it. What it comes to in kunas is converted once, as what is open of it is,
// and the payments are the rest.
std::string Sql() {
  const std::string books = "(" + WholeTotalInBooks() + ")";
  const std::string is_in_euros = "d.valuta_id = (SELECT v.id FROM valuta v WHERE v.oznaka = 'EUR')";
  const std::string total = "CASE WHEN d.ukupno IS NULL THEN NULL WHEN " + IsInKunas("d.datum") + " AND " +
                            is_in_euros + " THEN d.ukupno ELSE (CASE WHEN " + IsInKunas("d.datum") +
                            " THEN " + WholeEurosOfKunas(books) + " ELSE " + books + " END) / 10000.0 END";
  const auto of_items = [](const std::string& amount, const std::string& condition) {
    return "(SELECT (" + amount + ") / 10000.0 FROM otvorene_stavke o WHERE " + condition + ")";
  };
  return "SELECT d.id, d.vrsta, d.godina, d.broj, d.datum, d.datum_dospijeca, p.naziv, " + total +
         ", CASE WHEN d.placeno_odmah THEN " + total + " ELSE " +
         of_items(DebtInEuros() + " - " + OpenInEuros(), "o.dok_id = d.id AND d.stornira_id IS NULL") +
         " END, CASE WHEN d.placeno_odmah THEN 0 ELSE " +
         of_items(
             OpenInEuros(),
             "o.par_id = d.par_id AND o.br_dok = d.vrsta || ' ' || CAST(d.broj AS VARCHAR(20)) || '/' || "
             "CAST(d.godina AS VARCHAR(20))") +
         R"( END, d.stornira_id, (SELECT s.id FROM dok s WHERE s.stornira_id = d.id)
FROM dok d LEFT JOIN par p ON p.id = d.par_id
)";
}

constexpr std::string_view kSearched[] = {
    "p.naziv", "d.opis", "d.broj_dok_dob", "d.poziv_na_br",
    "CAST(d.broj AS VARCHAR(20)) || '/' || CAST(d.godina AS VARCHAR(20))"};

// The condition names only what is asked, so that an index serves it.
class Condition {
 public:
  void Add(const std::string& sql) { sql_ += (sql_.empty() ? "WHERE " : " AND ") + sql; }
  std::string Parameter(Value value) {
    values_.push_back(std::move(value));
    return ":p" + std::to_string(values_.size());
  }
  const std::string& sql() const { return sql_; }
  std::span<const Value> values() const { return values_; }

 private:
  std::string sql_;
  std::vector<Value> values_;
};

void FillDocuments(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  Condition condition;
  const auto narrow = [&](std::string_view input, const char* column, const char* is) {
    if (!inputs.IsNull(input)) condition.Add(std::string(column) + is + condition.Parameter(inputs[input]));
  };
  narrow("vrsta", "d.vrsta", " = ");
  narrow("godina", "d.godina", " = ");
  narrow("od", "d.datum", " >= ");
  narrow("do", "d.datum", " <= ");
  narrow("par_id", "d.par_id", " = ");
  const std::string text = inputs.IsNull("trazi") ? std::string() : inputs.As<std::string>("trazi");
  if (!TrimBlanks(text).empty()) {
    std::string any;
    for (const std::string& key : FoldKeys(text)) {
      const std::string parameter = condition.Parameter(key);
      for (const std::string_view searched : kSearched) {
        const std::string folded = "fold(" + std::string(searched) + ")";
        any += (any.empty() ? "" : " OR ") + ("REPLACE(" + folded + ", " + parameter + ", '') <> " + folded);
      }
    }
    condition.Add(any.empty() ? "1 = 0" : "(" + any + ")");
  }
  answer =
      database.Query(answer.Name(), ParseColumns(kColumns),
                     Sql() + condition.sql() + " ORDER BY d.godina, d.vrsta, d.broj", condition.values());
}

}  // namespace

const NamedService& DocumentListService() {
  static const NamedService service = {
      "Dokumenti",
      Right::kRead,
      "vrsta?:text,godina?:integer,od?:date,do?:date,par_id?:integer,trazi?:text",
      "the stored documents, of a kind, a year, a period, a partner, or with a text (in the partner's name, "
      "opis, "
      "poziv_na_br, the supplier's number, broj/godina), with what is to be paid, paid and still open, what "
      "they cancel "
      "and what cancels them; amounts are in euros",
      {{"adsList", kColumns, "", FillDocuments}}};
  return service;
}

}  // namespace mox
