#include "appserver/open_items.h"

#include <cmath>

#include "appserver/read_service_table.h"
#include "appserver/stored_document.h"
#include "mox/foundation/clock.h"
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

// The debt of a document.
struct Item {
  std::int64_t partner = 0;
  std::string number;
};

std::optional<Item> FindItem(Database& database, std::int64_t doc_id) {
  const RecordSet row = database.Query("stavka", ParseColumns("par_id:integer,br_dok"),
                                       "SELECT par_id, br_dok FROM otvorene_stavke "
                                       "WHERE dok_id = :dok_id AND duguje <> 0 ORDER BY id LIMIT 1",
                                       {doc_id});
  if (row.IsEmpty()) return std::nullopt;
  return Item{row.AsInteger(0), row.AsText(1)};
}

// Debt less payments, summed without rounding.
Currency OpenAmount(Database& database, const Item& item) {
  const RecordSet rows = database.Query("stavke", ParseColumns("duguje:currency,potrazuje:currency"),
                                        "SELECT duguje, potrazuje FROM otvorene_stavke "
                                        "WHERE par_id = :par_id AND br_dok = :br_dok",
                                        {item.partner, item.number});
  Currency open;
  for (const RecordRow& row : rows.Rows()) open += row.AsCurrency(0) - row.AsCurrency(1);
  return open;
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
  const auto answer = RunReadService(*FindRow(ReadServiceTable(), "KreditniLimitPartnera"), database, request,
                                     sent.Company());
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

Currency PaidAmount(Database& database, std::int64_t doc_id) {
  const RecordSet rows =
      database.Query("uplate", ParseColumns("potrazuje:currency"),
                     "SELECT potrazuje FROM otvorene_stavke WHERE dok_id = :dok_id", {doc_id});
  Currency paid;
  for (const RecordRow& row : rows.Rows()) paid += row.AsCurrency(0);
  return paid;
}

// A storno owes nothing, nor does what it has cancelled; what was paid of that may be given back.
void RequirePayable(Database& database, const RecordSet& payments, std::size_t row, std::int64_t doc_id,
                    bool is_given_back) {
  const RecordSet found = database.Query(
      "dok", ParseColumns("cancels:integer,cancelled_by:integer"),
      "SELECT d.stornira_id, (SELECT id FROM dok WHERE stornira_id = d.id) FROM dok d WHERE d.id = :id",
      {doc_id});
  if (found.IsEmpty() || (found.IsNull(0) && (is_given_back || found.IsNull(1)))) return;
  throw WriteRefused({"", payments.Name(), row, "dok_id",
                      "document " + std::to_string(doc_id) +
                          (found.IsNull(0) ? " was cancelled by document " + found.AsText(1)
                                           : " cancels document " + found.AsText(0))});
}

std::optional<RecordSet> InsertPayments(const NamedTransaction& /*transaction*/, Database& database,
                                        const SentRecordSets& sent) {
  const RecordSet& payments = *sent.Find("Uplate");
  RecordSet stored("Uplaceno");
  for (FieldDef& column : ParseColumns("dok_id:integer,iznos:currency,datum:date,preostalo:currency")) {
    stored.DefineField(std::move(column));
  }
  stored.Open();
  std::size_t row = 0;
  for (const RecordRow& payment : payments.Rows()) {
    ++row;
    const auto refuse = [&](std::string_view field, std::string message) {
      return WriteRefused({"", payments.Name(), row, std::string(field), std::move(message)});
    };
    const std::int64_t doc_id = payment.AsInteger(payment.IndexOf("dok_id"));
    const Currency amount = payment.AsCurrency(payment.IndexOf("iznos"));
    const auto dated = payment.FindFieldIndex("datum");
    const Date date = dated && !payment.IsNull(*dated) ? payment.AsDate(*dated) : Today();
    const bool is_given_back = amount < Currency();
    if (amount.IsZero()) throw refuse("iznos", "0.00 pays nothing");
    if (amount != Currency::FromScaled(amount.ToCents() * 100))
      throw refuse("iznos", amount.ToString() + " has more than two decimals");
    if (std::string fault = YearFault(date); !fault.empty()) throw refuse("datum", std::move(fault));
    const std::optional<Item> item = FindItem(database, doc_id);
    if (!item) {
      throw refuse("dok_id", "document " + std::to_string(doc_id) +
                                 " has no open item: there is none, it is paid at once or has no partner");
    }
    RequirePayable(database, payments, row, doc_id, is_given_back);
    if (is_given_back) {
      const Currency paid = PaidAmount(database, doc_id);
      if (paid + amount < Currency()) {
        throw refuse("iznos", amount.ToString() + " gives back more than was paid, " + paid.ToString());
      }
    }
    const Value what = std::string(is_given_back ? "Povrat uplate" : "Uplata");
    database.Execute(
        "INSERT INTO otvorene_stavke (par_id, opis, datum_pp, potrazuje, br_dok, datum_dok, datum_dos, "
        "dok_id) "
        "VALUES (:par_id, :opis, :datum_pp, :potrazuje, :br_dok, :datum_dok, :datum_dos, :dok_id)",
        {item->partner, what, date, amount, item->number, date, date, doc_id});
    stored.AppendRecord({doc_id, amount, date, OpenAmount(database, *item)});
  }
  if (!stored.IsEmpty()) stored.First();
  return stored;
}

const NamedTransaction kTransactions[] = {
    {"UplataInsert",
     "stores payments of invoices (dok_id, iznos, datum); a negative one gives back what was paid; answers "
     "what "
     "is still open, negative when overpaid",
     {{"Uplate", {"otvorene_stavke"}, true, "dok_id:integer,iznos:currency,datum:date"}},
     InsertPayments},
};

}  // namespace

std::span<const NamedTransaction> MoneyTransactionTable() { return kTransactions; }

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
      "dok", ParseColumns("par_id:integer,ukupno:currency,datum:date,datum_dospijeca:date,odgoda:float"),
      "SELECT d.par_id, d.ukupno, d.datum, d.datum_dospijeca, p.odgoda FROM dok d JOIN par p ON p.id = "
      "d.par_id "
      "WHERE d.id = :id AND NOT d.placeno_odmah",
      {doc_id});
  if (document.IsEmpty() || document.AsCurrency(1).IsZero()) return std::nullopt;
  CheckCredit(database, sent, document.AsInteger(0), document.AsCurrency(1));
  const Date due = document.IsNull(3) ? DueDate(document.AsDate(2), document.AsFloat(4)) : document.AsDate(3);
  if (document.IsNull(3)) {
    database.Execute("UPDATE dok SET datum_dospijeca = :due WHERE id = :id", {due, doc_id});
  }
  database.Execute(
      "INSERT INTO otvorene_stavke (par_id, skl_id, opis, datum_pp, duguje, br_dok, datum_dok, datum_dos, "
      "poziv_na_br, dok_id) "
      "SELECT par_id, skl_id, opis, datum, ukupno, vrsta || ' ' || CAST(broj AS VARCHAR(20)) || '/' || "
      "CAST(godina AS VARCHAR(20)), datum, datum_dospijeca, poziv_na_br, id FROM dok WHERE id = :id",
      {doc_id});
  return due;
}

void CloseItem(Database& database, std::int64_t cancelled_id, std::int64_t storno_id) {
  database.Execute(
      "INSERT INTO otvorene_stavke (par_id, skl_id, opis, datum_pp, duguje, br_dok, datum_dok, datum_dos, "
      "poziv_na_br, dok_id) "
      "SELECT o.par_id, o.skl_id, 'Storno', s.datum, -o.duguje, o.br_dok, s.datum, o.datum_dos, "
      "o.poziv_na_br, "
      "s.id FROM otvorene_stavke o, dok s WHERE o.dok_id = :cancelled AND o.duguje <> 0 AND s.id = :storno",
      {cancelled_id, storno_id});
}

}  // namespace mox
