#include "appserver/book_currency.h"

#include "mox/calculations/supplier_totals.h"
#include "mox/codes/exchange_rates.h"
#include "mox/documents/document_books.h"
#include "mox/documents/document_figures.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

constexpr std::string_view kEuroSince = "'2023-01-01'";
constexpr std::string_view kKunasForEuro = "7.5345";
constexpr double kFixedRate = 7.5345;

std::string InKunas() { return IsInKunas("d.datum"); }

// Most documents name no currency, and no other table is asked for them.
std::string IsForeign() {
  return "(d.valuta_id IS NOT NULL AND d.tecaj > 0 AND (SELECT v.oznaka FROM valuta v WHERE v.id = "
         "d.valuta_id) <> CASE WHEN " +
         InKunas() + " THEN 'HRK' ELSE 'EUR' END)";
}

std::string Whole(std::string_view amount) {
  return "CAST(ROUND(COALESCE(" + std::string(amount) + ", 0) * 10000) AS BIGINT)";
}

}  // namespace

Date FirstDayOfEuro() { return *MakeDate(2023, 1, 1); }

std::string IsInKunas(std::string_view date) {
  return "(" + std::string(date) + " IS NOT NULL AND " + std::string(date) + " < " + std::string(kEuroSince) +
         ")";
}

// No whole ten-thousandth is half a cent.
std::string WholeEurosOfKunas(std::string_view kunas) {
  const std::string whole = "CAST(" + std::string(kunas) + " AS BIGINT)";
  return "((200 * " + whole + " + CASE WHEN " + whole + " < 0 THEN -75345 ELSE 75345 END) / 150690 * 100)";
}

std::string WholeEurosOfKunas(std::string_view kunas, std::string_view rate) {
  const std::string euros = "(" + std::string(kunas) + " / " + std::string(rate) + " / 100)";
  return "CASE WHEN " + std::string(rate) + " IS NULL THEN " + WholeEurosOfKunas(kunas) +
         " ELSE CAST(ROUND(CAST(" + euros + " + SIGN(" + euros +
         ") * 0.00001 AS NUMERIC)) AS BIGINT) * 100 END";
}

const std::string& IsUnchargedSql() {
  static const std::string sql = [] {
    const auto listed = [](const auto& names) {
      std::string list;
      for (const std::string_view name : names)
        list += (list.empty() ? "'" : ", '") + std::string(name) + "'";
      return "(" + list + ")";
    };
    std::vector<std::string_view> kinds;
    for (const DocumentKind& kind : DocumentKinds()) {
      if (HasSupplierTotals(kind)) kinds.push_back(kind.name);
    }
    return "(d.vrsta IN " + listed(kinds) + " AND d.vrsta_dok_dob IN " +
           listed(KindsWithoutInputTax(SupplierEdition::kDomestic)) +
           " AND d.id NOT IN (SELECT b.dok_id FROM dok_porezi b WHERE b.dok_id = d.id AND b.stopa = " +
           ShortestNumber(kBosnianRate) + " AND d.vrsta_dok_dob NOT IN " +
           listed(KindsWithoutInputTax(SupplierEdition::kBosnian)) + "))";
  }();
  return sql;
}

std::string WholeInBooks(std::string_view amount, bool last_in_euros) {
  const std::string whole = "COALESCE(" + std::string(amount) + ", 0)";
  // Moved away from zero by 0.0000001 of the currency first, as R2 does: quotients of decimals miss their
  // halves.
  const auto hundredths = [&](const std::string& times) {
    const std::string value = "(" + whole + " * 100 " + times + ")";
    return "CAST(ROUND(CAST(" + value + " + SIGN(" + value + ") * 0.00001 AS NUMERIC)) AS BIGINT) * 100";
  };
  const std::string to_euros = last_in_euros ? " / " + std::string(kKunasForEuro) : std::string();
  std::string sql = "CASE WHEN " + IsForeign() + " THEN CASE WHEN " + InKunas() + " THEN " +
                    hundredths("* d.tecaj" + to_euros) + " ELSE " + hundredths("/ d.tecaj") + " END";
  if (last_in_euros) sql += " WHEN " + InKunas() + " THEN " + hundredths(to_euros);
  return sql + " ELSE " + Whole(amount) + " END";
}

std::string WholeTotalInBooks(bool last_in_euros) {
  const auto of_taxes = [](const std::string& sum) {
    return "COALESCE((SELECT SUM(" + sum + ") FROM dok_porezi p WHERE p.dok_id = d.id), 0)";
  };
  const auto charged = [](const std::string& tax) {
    return "CASE WHEN " + IsUnchargedSql() + " THEN 0 ELSE " + tax + " END";
  };
  const std::string rest = "(" + Whole("d.ukupno") + " - " + of_taxes(Whole("p.osnovica")) + " - " +
                           charged(of_taxes(Whole("p.porez"))) + ") / 10000.0";
  const std::string is_converted = IsForeign() + (last_in_euros ? " OR " + InKunas() : std::string());
  return "CASE WHEN " + is_converted + " THEN " + of_taxes(WholeInBooks("p.osnovica", last_in_euros)) +
         " + " + charged(of_taxes(WholeInBooks("p.porez", last_in_euros))) + " + " +
         WholeInBooks(rest, last_in_euros) + " ELSE " + Whole("d.ukupno") + " END";
}

bool HasBothCurrencies(Date first, Date last) { return first < FirstDayOfEuro() && last >= FirstDayOfEuro(); }

Currency AmountInBooks(Database& database, std::int64_t doc_id, Currency amount) {
  const RecordSet document =
      database.Query("dok", ParseColumns("datum:date,oznaka,tecaj:float,vrsta,vrsta_dok_dob"),
                     "SELECT d.datum, v.oznaka, d.tecaj, d.vrsta, d.vrsta_dok_dob FROM dok d JOIN valuta v "
                     "ON v.id = d.valuta_id "
                     "WHERE d.id = :id AND d.tecaj > 0",
                     {doc_id});
  if (document.IsEmpty()) return amount;
  const Date date = document.AsDate(0);
  if (document.AsTextView(1) == GetValutaOznakaByDate(date)) return amount;
  const RecordSet taxes = database.Query(
      "porezi", ParseColumns("osnovica:currency,porez:currency,stopa:float"),
      "SELECT osnovica, porez, stopa FROM dok_porezi WHERE dok_id = :id ORDER BY rb", {doc_id});
  const DocumentKind* const kind = FindDocumentKind(document.AsTextView(3));
  const bool is_uncharged =
      kind != nullptr && IsUncharged(*kind, {.recap = &taxes, .supplier_document = document.AsText(4)});
  return TotalInCurrencyOfDate(amount, taxes, !is_uncharged, date, document.AsFloat(2)).total;
}

std::string RateInBooksFault(std::string_view currency, Date date, double rate) {
  const std::string_view books = GetValutaOznakaByDate(date);
  if (currency == books) {
    return rate == 1 ? std::string() : "is sent, but the books are kept in " + std::string(books);
  }
  if (date < FirstDayOfEuro() || currency != "HRK" || rate == kFixedRate) return {};
  return ShortestNumber(rate) + " is not the fixed rate of HRK, " + std::string(kKunasForEuro);
}

std::optional<double> RateForBooks(Database& database, std::int64_t valuta_id, Date date) {
  const RecordSet currency = database.Query("valuta", ParseColumns("oznaka"),
                                            "SELECT oznaka FROM valuta WHERE id = :id", {valuta_id});
  if (currency.IsEmpty() || currency.AsTextView(0) == GetValutaOznakaByDate(date)) return std::nullopt;
  // Rates of kunas are none of euros.
  const bool in_euros = date >= FirstDayOfEuro();
  const RecordSet rate =
      database.Query("tecaj", ParseColumns("tecaj:float"),
                     "SELECT tecaj FROM tecaj WHERE val_id = :val_id AND datum <= :datum AND datum >= :od "
                     "ORDER BY datum DESC LIMIT 1",
                     {valuta_id, date, in_euros ? FirstDayOfEuro() : *MakeDate(1990, 1, 1)});
  if (!rate.IsEmpty()) return rate.AsFloat(0);
  throw Error("must not be empty: there is no exchange rate of " + currency.AsText(0) + " on " +
              ToText(date) + " (mox rates)");
}

}  // namespace mox
