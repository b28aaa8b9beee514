#include "appserver/money_transactions.h"

#include "appserver/stored_document.h"
#include "mox/foundation/clock.h"

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
     Right::kEnterDocuments,
     "stores payments of invoices (dok_id, iznos, datum); a negative one gives back what was paid; answers "
     "what is still open, negative when overpaid",
     {{"Uplate", {"otvorene_stavke"}, true, "dok_id:integer,iznos:currency,datum:date"}},
     InsertPayments},
};

}  // namespace

std::span<const NamedTransaction> MoneyTransactionTable() { return kTransactions; }

}  // namespace mox
