#include "appserver/rate_transactions.h"

#include <map>
#include <utility>

#include "appserver/fold.h"
#include "mox/codes/exchange_rates.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

// Storing lists of exchange rates.

namespace mox {
namespace {

struct Rate {
  std::int64_t currency = 0;
  std::string code;
  Date date;
  double value = 0;
};

[[noreturn]] void Refuse(const RecordSet& rates, std::size_t row, std::string_view field,
                         std::string message) {
  throw WriteRefused({"", rates.Name(), row, std::string(field), std::move(message)});
}

std::string DateText(Date date) {
  std::string text;
  AppendPlain(text, date);
  return text;
}

Rate RateIn(Database& database, const RecordSet& rates, std::size_t row) {
  const RecordRow record = rates.RowAt(row - 1);
  const auto value = [&](std::string_view name) {
    Value given = record.AsVariant(record.IndexOf(name));
    if (std::holds_alternative<std::monostate>(given)) Refuse(rates, row, name, "must not be empty");
    return given;
  };
  Rate rate{
      .code = ToText(value("val_ozn")), .date = ToDate(value("datum")), .value = ToFloat(value("tecaj"))};
  if (std::string fault = RateFault(rate.value); !fault.empty()) {
    Refuse(rates, row, "tecaj", std::move(fault));
  }
  const RecordSet currency =
      database.Query("valuta", ParseColumns("id:integer"),
                     "SELECT id FROM valuta WHERE fold(oznaka) = :oznaka", {FoldKey(rate.code)});
  if (currency.IsEmpty()) Refuse(rates, row, "val_ozn", "there is no currency \"" + rate.code + '"');
  rate.currency = currency.AsInteger(0);
  return rate;
}

std::optional<RecordSet> StoreRates(Database& database, const SentRecordSets& sent, bool replace) {
  const RecordSet& rates = *sent.Find("Tecajevi");
  std::int64_t added = 0;
  std::int64_t changed = 0;
  std::map<std::pair<std::int64_t, Date>, std::pair<std::size_t, double>> listed;
  for (std::size_t row = 1; row <= rates.RowCount(); ++row) {
    const Rate rate = RateIn(database, rates, row);
    const auto& [first_row, first_value] =
        listed.try_emplace({rate.currency, rate.date}, row, rate.value).first->second;
    if (first_value != rate.value) {
      Refuse(rates, row, "tecaj",
             rate.code + " of " + DateText(rate.date) + " is " + ShortestNumber(rate.value) + " here and " +
                 ShortestNumber(first_value) + " in row " + std::to_string(first_row));
    }
    const RecordSet stored = database.Query(
        "tecaj", ParseColumns("id:integer,tecaj:float"),
        "SELECT id, tecaj FROM tecaj WHERE val_id = :val_id AND datum = :datum", {rate.currency, rate.date});
    if (stored.IsEmpty()) {
      database.Execute("INSERT INTO tecaj (val_id, datum, tecaj) VALUES (:val_id, :datum, :tecaj)",
                       {rate.currency, rate.date, rate.value});
      ++added;
    } else if (stored.AsFloat(1) != rate.value) {
      if (!replace) {
        Refuse(rates, row, "tecaj",
               rate.code + " of " + DateText(rate.date) + " is stored as " +
                   ShortestNumber(stored.AsFloat(1)) + ", the list says " + ShortestNumber(rate.value) +
                   "; mox rates --replace takes the list's");
      }
      database.Execute("UPDATE tecaj SET tecaj = :tecaj, napomena = NULL WHERE id = :id",
                       {rate.value, stored.AsInteger(0)});
      ++changed;
    }
  }
  RecordSet counts("Tecajnica");
  for (const char* name : {"novi", "izmijenjeni", "isti"}) counts.DefineField(name, FieldKind::kInteger);
  counts.Open();
  counts.AppendRecord({added, changed, static_cast<std::int64_t>(rates.RowCount()) - added - changed});
  return counts;
}

std::optional<RecordSet> InsertRates(const NamedTransaction& /*transaction*/, Database& database,
                                     const SentRecordSets& sent) {
  return StoreRates(database, sent, false);
}

std::optional<RecordSet> ReplaceRates(const NamedTransaction& /*transaction*/, Database& database,
                                      const SentRecordSets& sent) {
  return StoreRates(database, sent, true);
}

const NamedTransaction kTransactions[] = {
    {"TecajnaListaInsert",
     Right::kMasterData,
     "stores exchange rates (datum, val_ozn, tecaj); refused where another rate of a day is stored",
     {{"Tecajevi", {"tecaj"}, true, "datum:date,val_ozn,tecaj:float"}},
     InsertRates},
    {"TecajnaListaReplace",
     Right::kMasterData,
     "stores exchange rates in place of those that are stored",
     {{"Tecajevi", {"tecaj"}, true, "datum:date,val_ozn,tecaj:float"}},
     ReplaceRates},
};

}  // namespace

std::span<const NamedTransaction> RateTransactionTable() { return kTransactions; }

}  // namespace mox
