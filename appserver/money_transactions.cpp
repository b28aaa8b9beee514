#include "appserver/money_transactions.h"

#include <algorithm>

#include "appserver/book_currency.h"
#include "appserver/stored_document.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/clock.h"
#include "mox/foundation/real.h"
#include "mox/foundation/rounding.h"

namespace mox {
namespace {

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

// A sum of rows of an item, without rounding: kunas as long as all of it is in kunas, else euros.
class ItemSum {
 public:
  /// `rate` is kunas for one euro, of a debt in euros that stands in kunas; 0 where there is none.
  void Add(Currency amount, bool is_in_kunas, double rate) {
    (is_in_kunas ? kunas_ : euros_) += amount;
    has_euros_ = has_euros_ || !is_in_kunas;
    if (is_in_kunas) rate_ = std::max(rate_, rate);
  }
  /// A payment of that day is held against it.
  void NeedOn(Date day) { has_euros_ = has_euros_ || day >= FirstDayOfEuro(); }
  Currency Total() const {
    if (!has_euros_) return kunas_;
    return (rate_ > 0 ? R2(kunas_ / Real(rate_)) : EurosOfKunas(kunas_)) + euros_;
  }
  std::string CurrencyCode() const { return has_euros_ ? "EUR" : "HRK"; }

 private:
  Currency kunas_;
  Currency euros_;
  double rate_ = 0;
  bool has_euros_ = false;
};

ItemSum SumOfRows(Database& database, const std::string& amount, const std::string& condition,
                  std::initializer_list<Value> values) {
  const RecordSet rows = database.Query("stavke", ParseColumns("iznos:currency,u_kunama:boolean,tecaj:float"),
                                        "SELECT " + amount + ", " + IsInKunas("o.datum_pp") +
                                            ", o.kuna_za_euro FROM otvorene_stavke o WHERE " + condition,
                                        values);
  ItemSum sum;
  for (const RecordRow& row : rows.Rows()) {
    sum.Add(row.AsCurrency(0), row.AsBoolean(1), row.AsFloat(2));
  }
  return sum;
}

// Debt less payments.
ItemSum OpenAmount(Database& database, const Item& item) {
  return SumOfRows(database, "o.duguje - o.potrazuje", "o.par_id = :par_id AND o.br_dok = :br_dok",
                   {item.partner, item.number});
}

ItemSum PaidAmount(Database& database, std::int64_t doc_id) {
  return SumOfRows(database, "o.potrazuje", "o.dok_id = :dok_id", {doc_id});
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
  for (FieldDef& column :
       ParseColumns("dok_id:integer,iznos:currency,datum:date,preostalo:currency,valuta")) {
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
      ItemSum sum = PaidAmount(database, doc_id);
      sum.NeedOn(date);
      const Currency paid = sum.Total();
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
    const ItemSum open = OpenAmount(database, *item);
    stored.AppendRecord({doc_id, amount, date, open.Total(), open.CurrencyCode()});
  }
  if (!stored.IsEmpty()) stored.First();
  return stored;
}

const NamedTransaction kTransactions[] = {
    {"UplataInsert",
     Right::kEnterDocuments,
     "stores payments of invoices (dok_id, iznos, datum), of days until 2022 in kunas, from 2023 on in "
     "euros; a "
     "negative one gives back what was paid; answers what is still open, negative when overpaid, and in what "
     "currency: a debt in kunas is in euros from its first payment in euros on",
     {{"Uplate", {"otvorene_stavke"}, true, "dok_id:integer,iznos:currency,datum:date"}},
     InsertPayments},
};

}  // namespace

std::span<const NamedTransaction> MoneyTransactionTable() { return kTransactions; }

}  // namespace mox
