#include "appserver/open_items.h"

#include <cmath>

#include "appserver/book_currency.h"
#include "appserver/fold.h"
#include "appserver/named_service_table.h"
#include "appserver/stored_document.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/find_row.h"
#include "mox/server/credit_limit.h"

namespace mox {
namespace {

// Days of payment are whole ones; what is not a sensible number of them is none.
Date DueDate(Date date, double days) {
  constexpr double kMostDays = 3650;
  if (!(days > 0 && days <= kMostDays)) return date;
  return Date{date.days + static_cast<std::int32_t>(std::floor(days))};
}

// The figures are those of the writing transaction, so that two programs at once cannot both use up a limit.
void CheckCredit(Database& database, const SentRecordSets& sent, std::int64_t partner, Currency amount) {
  if (amount <= Currency()) return;
  const RecordSet limited = database.Query(
      "par", ParseColumns("id:integer"),
      "SELECT id FROM par WHERE id = :id AND (limit_duga <> 0 OR dani_kasnjenja > 0)", {partner});
  if (limited.IsEmpty()) return;
  TAstaParamList request;
  request.FastAdd("par_id", partner);
  const auto answer = RunNamedService(*FindRow(NamedServiceTable(), "KreditniLimitPartnera"), database,
                                      request, sent.Company());
  const auto figures = CreditFigures::Of(answer->ParamByName("KreditniLimit").AsDataSet());
  const CreditVerdict verdict = JudgeCredit(figures.value(), amount);
  const RecordSet* const confirmed = sent.Find(kConfirmations);
  const auto balance = confirmed == nullptr ? std::nullopt : confirmed->FindFieldIndex("saldo");
  const bool agreed = balance && !confirmed->IsEmpty() && !confirmed->RowAt(0).IsNull(*balance) &&
                      confirmed->RowAt(0).AsCurrency(*balance) == figures->balance;
  if (verdict == CreditVerdict::kAllowed || (verdict == CreditVerdict::kAsk && agreed)) return;
  throw WriteRefused({"", std::string(kConfirmations), 0, "saldo",
                      "the credit limit of partner " + std::to_string(partner) + " does not allow " +
                          amount.ToString() + ": the balance is " + figures->balance.ToString() +
                          (verdict == CreditVerdict::kAsk ? ", and nobody has agreed on that" : "")});
}

}  // namespace

std::optional<KindOfPay> FindKindOfPay(Database& database, const std::string& text) {
  for (const std::string& key : FoldKeys(text)) {
    const RecordSet found =
        database.Query("nacin", ParseColumns("naziv,odmah:boolean"),
                       "SELECT naziv, odmah FROM nacini_placanja WHERE fold(naziv) = :key "
                       "OR fold(oznaka) = :key ORDER BY id LIMIT 1",
                       {key});
    if (!found.IsEmpty()) return KindOfPay{found.AsText(0), found.AsBoolean(1)};
  }
  return std::nullopt;
}

std::optional<Date> OpenItem(Database& database, const SentRecordSets& sent, std::int64_t doc_id) {
  const RecordSet document = database.Query(
      "dok",
      ParseColumns("par_id:integer,ukupno:currency,datum:date,datum_dospijeca:date,odgoda:float,oznaka"),
      "SELECT d.par_id, d.ukupno, d.datum, d.datum_dospijeca, p.odgoda, v.oznaka FROM dok d JOIN par p ON "
      "p.id = "
      "d.par_id LEFT JOIN valuta v ON v.id = d.valuta_id "
      "WHERE d.id = :id AND NOT d.placeno_odmah",
      {doc_id});
  if (document.IsEmpty() || document.AsCurrency(1).IsZero()) return std::nullopt;
  database.Claim({"par/" + document.AsText(0)});
  const Currency amount = AmountInBooks(database, doc_id, document.AsCurrency(1));
  const bool in_kunas = document.AsDate(2) < FirstDayOfEuro();
  // What is owed in euros is owed in them, whatever it came to in kunas.
  const bool in_euros = in_kunas && document.AsTextView(5) == "EUR";
  const Value rate = in_euros ? Value(amount.ToDouble() / document.AsCurrency(1).ToDouble()) : Value();
  CheckCredit(database, sent, document.AsInteger(0),
              in_euros   ? document.AsCurrency(1)
              : in_kunas ? EurosOfKunas(amount)
                         : amount);
  const Date due = document.IsNull(3) ? DueDate(document.AsDate(2), document.AsFloat(4)) : document.AsDate(3);
  if (document.IsNull(3)) {
    database.Execute("UPDATE dok SET datum_dospijeca = :due WHERE id = :id", {due, doc_id});
  }
  database.Execute(
      "INSERT INTO otvorene_stavke (par_id, skl_id, opis, datum_pp, duguje, br_dok, datum_dok, datum_dos, "
      "poziv_na_br, dok_id, kuna_za_euro) "
      "SELECT par_id, skl_id, opis, datum, CAST(:iznos AS NUMERIC(19,4)), vrsta || ' ' || CAST(broj AS "
      "VARCHAR(20)) || '/' || "
      "CAST(godina AS VARCHAR(20)), datum, datum_dospijeca, poziv_na_br, id, CAST(:tecaj AS DOUBLE "
      "PRECISION) "
      "FROM dok WHERE id = :id",
      {amount, rate, doc_id});
  return due;
}

void CloseItem(Database& database, std::int64_t cancelled_id, std::int64_t storno_id) {
  database.Execute(
      "INSERT INTO otvorene_stavke (par_id, skl_id, opis, datum_pp, duguje, br_dok, datum_dok, datum_dos, "
      "poziv_na_br, dok_id) "
      "SELECT o.par_id, o.skl_id, 'Storno', (SELECT s.datum FROM dok s WHERE s.id = :storno), -o.duguje, "
      "o.br_dok, (SELECT s.datum FROM dok s WHERE s.id = :storno), o.datum_dos, o.poziv_na_br, "
      "CAST(:storno AS BIGINT) FROM otvorene_stavke o WHERE o.dok_id = :cancelled AND o.duguje <> 0",
      {storno_id, cancelled_id});
}

}  // namespace mox
