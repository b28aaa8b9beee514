#include "appserver/report_services.h"

#include <algorithm>

#include "appserver/book_currency.h"
#include "appserver/partner_balances.h"
#include "mox/documents/document_books.h"
#include "mox/documents/document_figures.h"
#include "mox/documents/storno.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/find_row.h"

// Amounts are summed as whole ten-thousandths and quantities as whole millionths, so sums are exact.
//
// A cross join keeps the order of its tables where the engine plans by their order: first the documents of
// the period, then what belongs to them, and not all that ever was.

namespace mox {
namespace {

// --- kinds of documents as SQL has them ---

using IsOfThem = bool (*)(const DocumentKind& kind);

// d.vrsta IN ('gotovinski-racun', ...)
std::string KindIs(IsOfThem is_of_them) {
  std::string list;
  for (const DocumentKind& kind : DocumentKinds()) {
    if (is_of_them(kind)) list += (list.empty() ? "'" : ", '") + std::string(kind.name) + "'";
  }
  return list.empty() ? "1 = 0" : "d.vrsta IN (" + list + ")";
}

std::string SignWhere(IsOfThem counts_against) {
  return "CASE WHEN " + KindIs(counts_against) + " THEN -1 ELSE 1 END";
}

const std::string& IsTurnover() {
  static const std::string sql = KindIs([](const DocumentKind& kind) { return TurnoverSign(kind) != 0; });
  return sql;
}
const std::string& TurnoverSignSql() {
  static const std::string sql = SignWhere([](const DocumentKind& kind) { return TurnoverSign(kind) < 0; });
  return sql;
}

std::string Whole(std::string_view amount) {
  return "CAST(ROUND(COALESCE(" + std::string(amount) + ", 0) * 10000) AS BIGINT)";
}
std::string WholeQuantity(std::string_view quantity) {
  return "CAST(ROUND(CAST(COALESCE(" + std::string(quantity) + ", 0) * 1000000 AS NUMERIC)) AS BIGINT)";
}

// What a line costs, in the field that its kind of document names.
std::string LineTotal(bool in_euros) {
  std::string cases;
  for (const DocumentKind& kind : DocumentKinds()) {
    for (const bool services : {false, true}) {
      const LineSchema* const schema = StoredSchema(kind, services);
      if (schema == nullptr || !schema->to_be_paid ||
          std::string_view(schema->to_be_paid->text) == field::ukupno.text)
        continue;
      cases += " WHEN d.vrsta = '" + std::string(kind.name) + "' AND s.sorta = '" +
               (services ? "usluga" : "roba") + "' THEN s." + std::string(schema->to_be_paid->text);
    }
  }
  return WholeInBooks(cases.empty() ? "s.ukupno" : "CASE" + cases + " ELSE s.ukupno END", in_euros);
}

// --- what rows are grouped by ---

// A column of an answer that says what a row is about, as SQL over the documents (d), their lines (s) or
// their taxes (p) has it.
struct KeyColumn {
  std::string_view name;
  std::string_view sql;
};

struct Grouping {
  std::string_view name;
  std::vector<KeyColumn> keys;
  std::string_view join = {};
};

const std::vector<Grouping>& Groupings() {
  static const std::vector<Grouping> groupings = {
      {"dan", {{"datum", "d.datum"}}},
      {"vrsta", {{"vrsta", "d.vrsta"}}},
      {"partner",
       {{"sifra", "r.sifra"}, {"par_id", "d.par_id"}, {"naziv", "r.naziv"}},
       "LEFT JOIN par r ON r.id = d.par_id"},
      {"artikl",
       {{"sorta", "s.sorta"},
        {"sifra", "COALESCE(a.sifra, s.sifra)"},
        {"naziv", "COALESCE(a.naziv, s.naziv)"},
        {"jm", "COALESCE(j.naziv, s.jm)"}},
       "LEFT JOIN art a ON a.id = s.art_id LEFT JOIN jm j ON j.id = a.jm_id"},
      {"stopa", {{"stopa", "p.stopa"}}},
  };
  return groupings;
}

// The grouping that is asked for, of those that a report has; the first of them where none is.
const Grouping& GroupingOf(const ServiceInputs& inputs, std::initializer_list<std::string_view> allowed) {
  const std::string name = inputs.IsNull("po") ? std::string(*allowed.begin()) : inputs.As<std::string>("po");
  if (std::find(allowed.begin(), allowed.end(), name) == allowed.end()) {
    std::string names;
    for (const std::string_view known : allowed) names += (names.empty() ? "" : ", ") + std::string(known);
    throw Error("input \"po\": \"" + name + "\" is none of " + names);
  }
  return *FindRow(Groupings(), name);
}

void RequireDaysInOrder(const ServiceInputs& inputs) {
  if (inputs.IsNull("od") || inputs.IsNull("do")) return;
  const Date first = inputs.As<Date>("od");
  const Date last = inputs.As<Date>("do");
  if (first <= last) return;
  std::string fault = "input \"do\": ";
  AppendPlain(fault, last);
  fault += " is before the first day, ";
  AppendPlain(fault, first);
  throw Error(fault);
}

// Whether sums of the period are in euros, though documents in it are in kunas.
bool AreInEuros(const ServiceInputs& inputs) {
  return HasBothCurrencies(inputs.As<Date>("od"), inputs.As<Date>("do"));
}

// "sql AS name, " for each key.
std::string DefineKeys(const Grouping& grouping) {
  std::string sql;
  for (const KeyColumn& key : grouping.keys)
    sql += std::string(key.sql) + " AS k_" + std::string(key.name) + ", ";
  return sql;
}
// "k_datum, k_vrsta"
std::string KeyNames(const Grouping& grouping) {
  std::string names;
  for (const KeyColumn& key : grouping.keys) names += (names.empty() ? "k_" : ", k_") + std::string(key.name);
  return names;
}
// What has no value comes first, as not every engine has it by itself.
std::string OrderOf(const Grouping& grouping) {
  std::string order;
  for (const KeyColumn& key : grouping.keys)
    order += (order.empty() ? "k_" : ", k_") + std::string(key.name) + " NULLS FIRST";
  return order;
}
// The columns of an answer up to the first that is no key, null where the grouping does not have them.
std::string SelectKeys(const Grouping& grouping, std::string_view columns) {
  std::string sql;
  for (const FieldDef& column : ParseColumns(columns)) {
    sql += (FindRow(grouping.keys, column.name) != nullptr ? "k_" + column.name : std::string("NULL")) + ", ";
  }
  return sql;
}

std::string SumOf(std::string_view expression) { return "SUM(" + std::string(expression) + ") / 10000.0"; }

// --- turnover ---

constexpr std::string_view kTurnoverKeys = "datum:date,vrsta,par_id:integer,sorta,sifra,naziv,jm,stopa:float";
constexpr std::string_view kTurnoverColumns =
    "datum:date,vrsta,par_id:integer,sorta,sifra,naziv,jm,stopa:float,kolicina:float,dokumenata:integer,"
    "osnovica:currency,porez:currency,naknade:currency,gotovina:currency,bezgotovinski:currency,ukupno:"
    "currency";

const std::string kNone = "CAST(NULL AS BIGINT)";

// A row for each document, each line or each rate: keys, id, znak, odmah, kolicina, osnovica, porez, iznos.
std::string TurnoverRows(const Grouping& grouping, bool in_euros) {
  const auto whole = [in_euros](const std::string& amount) {
    return "(" + WholeInBooks(amount, in_euros) + ")";
  };
  const std::string total = "(" + WholeTotalInBooks(in_euros) + ")";
  const std::string document =
      "d.id AS id, " + TurnoverSignSql() + " AS znak, CASE WHEN d.placeno_odmah THEN 1 ELSE 0 END AS odmah, ";
  const std::string from = " FROM dok d ";
  const std::string where =
      std::string(grouping.join) + " WHERE d.datum BETWEEN :od AND :do AND " + IsTurnover();
  const auto tax = [&](std::string_view column) {
    return "COALESCE((SELECT SUM(" + whole("p." + std::string(column)) +
           ") FROM dok_porezi p WHERE p.dok_id = d.id), 0)";
  };
  if (grouping.name == "artikl") {
    return "SELECT " + DefineKeys(grouping) + document + WholeQuantity("s.kolicina") + " AS kolicina, " +
           kNone + " AS osnovica, " + kNone + " AS porez, " + LineTotal(in_euros) + " AS iznos" + from +
           "CROSS JOIN dok_stavke s " + where + " AND s.dok_id = d.id";
  }
  if (grouping.name == "stopa") {
    // Fees carry no tax, so they have a row without a rate.
    return "SELECT " + DefineKeys(grouping) + document + kNone + " AS kolicina, " + whole("p.osnovica") +
           " AS osnovica, " + whole("p.porez") + " AS porez, " + whole("p.osnovica") + " + " +
           whole("p.porez") + " AS iznos" + from + "CROSS JOIN dok_porezi p " + where +
           " AND p.dok_id = d.id UNION ALL SELECT NULL, " + document + "NULL, 0, 0, " + total + " - " +
           tax("osnovica") + " - " + tax("porez") + from + where + " AND " + total + " <> " +
           tax("osnovica") + " + " + tax("porez");
  }
  return "SELECT " + DefineKeys(grouping) + document + kNone + " AS kolicina, " + tax("osnovica") +
         " AS osnovica, " + tax("porez") + " AS porez, " + total + " AS iznos" + from + where;
}

bool MayHaveFees(const DocumentKind& kind) {
  const auto kinds = DocumentKinds();
  return std::any_of(kinds.begin(), kinds.end(), [&kind](const DocumentKind& mirrored) {
    return (&mirrored == &kind || &StornoKindOf(mirrored) == &kind) && HasFees(mirrored.goods);
  });
}

// What the lines of a row's document say of fees. Of most the total is base and tax, and their lines are not
// looked at; the cents that rounding leaves between them are no fees.
std::string FeesOfRow(bool in_euros) {
  return "CASE WHEN osnovica IS NULL THEN NULL WHEN iznos = osnovica + porez THEN 0 ELSE COALESCE((SELECT " +
         WholeInBooks("(SELECT SUM(f.pov_naki) FROM dok_stavke f WHERE f.dok_id = d.id AND f.sorta = 'roba')",
                      in_euros) +
         " FROM dok d WHERE d.id = t.id AND " + KindIs(MayHaveFees) + "), 0) END";
}

void FillTurnover(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  RequireDaysInOrder(inputs);
  const Grouping& grouping = GroupingOf(inputs, {"dan", "vrsta", "partner", "artikl", "stopa"});
  const std::string keys = KeyNames(grouping);
  const bool in_euros = AreInEuros(inputs);
  answer = database.Query(
      answer.Name(), ParseColumns(kTurnoverColumns),
      "WITH t AS (" + TurnoverRows(grouping, in_euros) + ") SELECT " + SelectKeys(grouping, kTurnoverKeys) +
          "SUM(znak * kolicina) / 1000000.0, COUNT(DISTINCT id), " + SumOf("znak * osnovica") + ", " +
          SumOf("znak * porez") + ", " + SumOf("znak * " + FeesOfRow(in_euros)) + ", " +
          SumOf("znak * iznos * odmah") + ", " + SumOf("znak * iznos * (1 - odmah)") + ", " +
          SumOf("znak * iznos") + " FROM t GROUP BY " + keys + " ORDER BY " + OrderOf(grouping),
      {inputs["od"], inputs["do"]});
}

// --- tax ---

constexpr std::string_view kTaxKeys = "datum:date,vrsta,par_id:integer,sifra,naziv";
constexpr std::string_view kTaxColumns =
    "strana,stopa:float,datum:date,vrsta,par_id:integer,sifra,naziv,dokumenata:integer,osnovica:currency,"
    "porez:currency";

void FillTax(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  RequireDaysInOrder(inputs);
  const Grouping& grouping = GroupingOf(inputs, {"stopa", "dan", "vrsta", "partner"});
  const bool by_rate = grouping.name == "stopa";
  static const std::string kIsInput =
      KindIs([](const DocumentKind& kind) { return TaxRoleOf(kind).side == TaxSide::kInput; });
  static const std::string kIsTaxed =
      KindIs([](const DocumentKind& kind) { return TaxRoleOf(kind).side != TaxSide::kNone; });
  static const std::string kSign =
      SignWhere([](const DocumentKind& kind) { return TaxRoleOf(kind).sign < 0; });
  const std::string keys = by_rate ? "" : KeyNames(grouping) + ", ";
  answer = database.Query(
      answer.Name(), ParseColumns(kTaxColumns),
      "WITH t AS (SELECT " + (by_rate ? "" : DefineKeys(grouping)) + "d.id AS id, CASE WHEN " + kIsInput +
          " THEN 'ulazni' ELSE 'izlazni' END AS strana, CASE WHEN " + IsUnchargedSql() +
          " THEN 0 ELSE p.stopa END AS stopa, " + kSign + " * (" +
          WholeInBooks("p.osnovica", AreInEuros(inputs)) + ") AS osnovica, CASE WHEN " + IsUnchargedSql() +
          " THEN 0 ELSE " + kSign + " * (" + WholeInBooks("p.porez", AreInEuros(inputs)) +
          ") END AS porez FROM dok d CROSS JOIN dok_porezi p " + std::string(grouping.join) +
          " WHERE d.datum BETWEEN :od AND :do AND p.dok_id = d.id AND " + kIsTaxed +
          ") SELECT strana, stopa, " + SelectKeys(grouping, kTaxKeys) + "COUNT(DISTINCT id), " +
          SumOf("osnovica") + ", " + SumOf("porez") + " FROM t GROUP BY strana, " + keys +
          "stopa ORDER BY strana, " + (by_rate ? "" : OrderOf(grouping) + ", ") + "stopa",
      {inputs["od"], inputs["do"]});
}

// --- balances ---

constexpr std::string_view kBalanceColumns =
    "par_id:integer,sifra,naziv,pocetno:currency,duguje:currency,potrazuje:currency,saldo:currency";

// A period from the first day on, to the last; without either, what there is now.
struct Period {
  Value first;
  Value last;
  bool is_open_before = false;  // everything until the last day

  explicit Period(const ServiceInputs& inputs) : first(inputs["od"]), last(inputs["do"]) {
    RequireDaysInOrder(inputs);
    if (inputs.IsNull("do")) last = *MakeDate(9999, 12, 31);
    is_open_before = inputs.IsNull("od");
    if (!is_open_before) return;
    const Date day = std::get<Date>(last);
    first = inputs.IsNull("do") ? Value(day) : Value(Date{day.days + 1});
  }
};

// A period that ends in kunas: rows of par_id, duguje, potrazuje, u_duguje and u_potrazuje, the sums in it.
std::string BalancesInKunas() {
  const std::string debt = Whole("o.duguje");
  const std::string paid = Whole("o.potrazuje");
  const auto in_period = [](const std::string& amount) {
    return "CASE WHEN o.datum_pp >= :od THEN " + amount + " ELSE 0 END";
  };
  return "SELECT o.par_id, " + debt + " AS duguje, " + paid + " AS potrazuje, " + in_period(debt) +
         " AS u_duguje, " + in_period(paid) +
         " AS u_potrazuje FROM otvorene_stavke o WHERE o.datum_pp <= :do";
}

// Another in euros: what is kept, and what came after the last row that is in it; less what is after the
// period.
std::string BalancesInEuros() {
  const auto change = [](const std::string& amounts, const std::string& condition) {
    return " UNION ALL SELECT c.par_id, " + amounts + " FROM (" + ChangeOfBalances(condition) + ") c";
  };
  return "SELECT par_id, duguje, potrazuje, 0 AS u_duguje, 0 AS u_potrazuje FROM par_saldo" +
         change("c.duguje, c.potrazuje, 0, 0", kSinceKept) +
         change("0, 0, c.duguje, c.potrazuje", "o.datum_pp >= :od AND o.datum_pp <= :do") +
         change("-c.duguje, -c.potrazuje, 0, 0", "o.datum_pp > :do");
}

void FillBalances(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  const Period period(inputs);
  const bool in_euros = std::get<Date>(period.last) >= FirstDayOfEuro();
  const std::string opening =
      period.is_open_before ? "NULL" : "(duguje - potrazuje - u_duguje + u_potrazuje) / 10000.0";
  const std::string in_period = period.is_open_before ? "" : "u_";
  answer = database.Query(
      answer.Name(), ParseColumns(kBalanceColumns),
      "WITH k AS (" + (in_euros ? BalancesInEuros() : BalancesInKunas()) +
          "), z AS (SELECT par_id, SUM(duguje) AS duguje, SUM(potrazuje) AS potrazuje, SUM(u_duguje) AS "
          "u_duguje, SUM(u_potrazuje) AS u_potrazuje FROM k GROUP BY par_id) SELECT z.par_id, p.sifra, "
          "p.naziv, " +
          opening + ", " + in_period + "duguje / 10000.0, " + in_period +
          "potrazuje / 10000.0, (duguje - potrazuje) / 10000.0 FROM z JOIN par p ON p.id = z.par_id WHERE "
          "duguje <> potrazuje OR u_duguje <> 0 OR u_potrazuje <> 0 ORDER BY p.naziv, z.par_id",
      {period.first, period.last});
}

// --- stock ---

constexpr std::string_view kStockColumns =
    "skl_id:integer,skl_naziv,sifra,naziv,jm,pocetno:float,ulaz:float,izlaz:float,stanje:float,nc:currency,"
    "vrijednost:currency";
constexpr std::string_view kMovementColumns =
    "datum:date,vrsta,redaka:integer,ulaz:float,izlaz:float,vrijednost:currency";

const std::string& MovesIn() {
  static const std::string sql =
      KindIs([](const DocumentKind& kind) { return kind.stock == StockDirection::kIn; });
  return sql;
}

// What stands there now, less what moved after the period. Goods that a storno takes back count below 0 where
// they came in or went out.
void FillStock(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  const Period period(inputs);
  const auto in_period = [](const std::string& condition, std::string_view quantity) {
    return "SUM(CASE WHEN d.datum <= :do AND " + condition + " THEN " + std::string(quantity) +
           " ELSE 0 END)";
  };
  const auto whole_period = [&](const std::string& sql) { return period.is_open_before ? "NULL" : sql; };
  const std::string stands = "(s.kolicina - COALESCE(k.poslije, 0))";
  const std::string worth = "(s.vrijednost - COALESCE(k.poslije_vr, 0))";
  answer = database.Query(
      answer.Name(), ParseColumns(kStockColumns),
      "WITH k AS (SELECT m.skl_id, m.art_id, SUM(CASE WHEN d.datum > :do THEN m.kolicina ELSE 0 END) AS "
      "poslije, "
      "SUM(CASE WHEN d.datum > :do THEN m.vrijednost ELSE 0 END) AS poslije_vr, " +
          in_period(MovesIn(), "m.kolicina") + " AS ulaz, " + in_period("NOT " + MovesIn(), "-m.kolicina") +
          " AS izlaz FROM dok d CROSS JOIN skl_promet m WHERE m.dok_id = d.id AND d.datum >= :od GROUP BY "
          "m.skl_id, "
          "m.art_id) "
          "SELECT s.skl_id, w.naziv, a.sifra, a.naziv, j.naziv, " +
          whole_period("(" + stands + " - COALESCE(k.ulaz, 0) + COALESCE(k.izlaz, 0)) / 1000000.0") + ", " +
          whole_period("COALESCE(k.ulaz, 0) / 1000000.0") + ", " +
          whole_period("COALESCE(k.izlaz, 0) / 1000000.0") + ", " + stands + " / 1000000.0, CASE WHEN " +
          stands + " > 0 THEN ROUND(" + worth + " * 1000000.0 / " + stands + ") / 10000.0 END, " + worth +
          " / 10000.0 FROM skl_stanje s LEFT JOIN k ON k.skl_id = s.skl_id AND k.art_id = s.art_id JOIN "
          "skladiste w ON "
          "w.id = s.skl_id JOIN art a ON a.id = s.art_id LEFT JOIN jm j ON j.id = a.jm_id WHERE " +
          stands + " <> 0 OR " + worth +
          " <> 0 OR COALESCE(k.ulaz, 0) <> 0 OR COALESCE(k.izlaz, 0) <> 0 ORDER BY "
          "w.sifra, a.sifra",
      {period.last, period.first});
}

// What moved, by the day or by the kind of document.
void FillMovements(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  RequireDaysInOrder(inputs);
  const Grouping& grouping = GroupingOf(inputs, {"dan", "vrsta"});
  const std::string keys = KeyNames(grouping);
  answer = database.Query(
      answer.Name(), ParseColumns(kMovementColumns),
      "SELECT " + SelectKeys(grouping, "datum:date,vrsta") +
          "COUNT(*), SUM(ulaz) / 1000000.0, SUM(izlaz) / 1000000.0, SUM(vrijednost) / 10000.0 FROM (SELECT " +
          DefineKeys(grouping) + "CASE WHEN " + MovesIn() +
          " THEN m.kolicina ELSE 0 END AS ulaz, CASE WHEN " + MovesIn() +
          " THEN 0 ELSE -m.kolicina END AS izlaz, m.vrijednost AS vrijednost FROM dok d CROSS JOIN "
          "skl_promet m "
          "WHERE m.dok_id = d.id AND d.datum BETWEEN :od AND :do) t GROUP BY " +
          keys + " ORDER BY " + OrderOf(grouping),
      {inputs["od"], inputs["do"]});
}

const NamedService kServices[] = {
    {"Izvjestaj\\Saldo",
     Right::kRead,
     "od?:date,do?:date",
     "what partners owe at the end of a period, and what they came to owe and paid in it; without days, now. "
     "In kunas where the period ends before 2023, else all of it in euros",
     {{"adsSaldo", kBalanceColumns, "", FillBalances}}},

    {"Izvjestaj\\Skladiste",
     Right::kRead,
     "od?:date,do?:date",
     "what stands in the warehouses at the end of a period, by article, and what came and went in it; "
     "without days, now",
     {{"adsSkladiste", kStockColumns, "", FillStock}}},

    {"Izvjestaj\\PrometSkladista",
     Right::kRead,
     "od:date,do:date,po?:text",
     "what came into the warehouses and went out of them in a period, by dan or vrsta of document",
     {{"adsPromet", kMovementColumns, "", FillMovements}}},

    {"Izvjestaj\\Promet",
     Right::kRead,
     "od:date,do:date,po?:text",
     "turnover of a period by dan, vrsta, partner, artikl or stopa: invoices, their stornos and customers' "
     "returns",
     {{"adsPromet", kTurnoverColumns, "", FillTurnover}}},

    {"Izvjestaj\\Porez",
     Right::kRead,
     "od:date,do:date,po?:text",
     "tax of a period by rate, as the recapitulations have it, and by dan, vrsta or partner: izlazni is "
     "charged, ulazni "
     "deducted",
     {{"adsPorez", kTaxColumns, "", FillTax}}},
};

}  // namespace

std::span<const NamedService> ReportServices() { return kServices; }

}  // namespace mox
