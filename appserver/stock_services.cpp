#include "appserver/stock_services.h"

#include "appserver/fold.h"
#include "appserver/stock.h"
#include "mox/documents/document_kinds.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::string_view kStanjeColumns =
    "skl_id:integer,skl_naziv,art_id:integer,sifra,naziv,jm,kolicina:float,nc:currency,vrijednost:currency";

// The condition names only what is asked, so that an index serves it.
void FillStanje(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  std::string condition;
  std::vector<Value> values;
  const auto narrow = [&](std::string_view input, std::string_view where, Value value) {
    if (inputs.IsNull(input)) return;
    condition += (condition.empty() ? "WHERE " : " AND ") + std::string(where);
    values.push_back(std::move(value));
  };
  narrow("skl_id", "s.skl_id = :skl_id", inputs["skl_id"]);
  narrow("art_id", "s.art_id = :art_id", inputs["art_id"]);
  if (!inputs.IsNull("sifra")) {
    narrow("sifra", "fold(a.sifra) = :sifra", FoldKey(inputs.As<std::string>("sifra")));
  }
  answer = database.Query(answer.Name(), ParseColumns(kStanjeColumns), R"(
SELECT s.skl_id, k.naziv, s.art_id, a.sifra, a.naziv, j.naziv, s.kolicina / 1000000.0, s.nc / 10000.0,
  s.vrijednost / 10000.0
FROM skl_stanje s
JOIN skladiste k ON k.id = s.skl_id
JOIN art a ON a.id = s.art_id
LEFT JOIN jm j ON j.id = a.jm_id
)" + condition + " ORDER BY k.sifra, a.sifra",
                          values);
}

void CheckArticleName(Database& /*database*/, ServiceInputs& inputs) {
  if (inputs.IsNull("sifra") == inputs.IsNull("art_id"))
    throw Error("one of the inputs \"sifra\" and \"art_id\" is needed");
  std::string code = inputs.IsNull("sifra") ? std::string() : FoldKey(inputs.As<std::string>("sifra"));
  inputs.Derive("kljuc", FieldKind::kText, std::move(code));
}

// By the code or by the key, so that an index serves either.
constexpr std::string_view kArtiklSql = R"(
SELECT a.id, a.sifra, a.naziv, j.naziv, t.stopa, a.vpc, a.mpc, s.nc / 10000.0
FROM art a
LEFT JOIN jm j ON j.id = a.jm_id
LEFT JOIN tbr t ON t.id = a.tbr_id
LEFT JOIN skl_stanje s ON s.art_id = a.id AND s.skl_id = :skl_id
WHERE (CAST(:art_id AS BIGINT) IS NOT NULL AND a.id = :art_id) OR (CAST(:art_id AS BIGINT) IS NULL AND fold(a.sifra) = :kljuc)
ORDER BY a.id LIMIT 1)";

const NamedService kServices[] = {
    {"ArtiklZaStavku",
     Right::kRead,
     "sifra?:text,art_id?:integer,skl_id?:integer",
     "what a document line takes from the article that it names: tax rate, prices, the average purchase "
     "price in a "
     "warehouse",
     {{"adsArtikl", "id:integer,sifra,naziv,jm,tbr_stp:float,vpc:currency,mpc:currency,nc:currency",
       kArtiklSql}},
     CheckArticleName},

    {"StanjeSkladista",
     Right::kRead,
     "skl_id?:integer,art_id?:integer,sifra?:text",
     "what stands in the warehouses, by article: quantity, average purchase price and value at purchase "
     "prices",
     {{"adsStanje", kStanjeColumns, "", FillStanje}}},
};

void Tell(RecordSet faults, std::vector<DatabaseFinding>& findings) {
  for (const RecordRow& row : faults.Rows()) findings.push_back({"stock", row.AsText(0), row.AsText(1)});
}

// The kinds whose quantities move stock in the direction, as SQL has a list.
std::string KindsThatMove(StockDirection direction) {
  std::string list;
  for (const DocumentKind& kind : DocumentKinds()) {
    if (kind.stock == direction) list += (list.empty() ? "'" : ", '") + std::string(kind.name) + "'";
  }
  return list;
}

}  // namespace

std::span<const NamedService> StockServices() { return kServices; }

void CheckStock(Database& database, std::vector<DatabaseFinding>& findings) {
  const Columns columns = ParseColumns("gdje,sto");
  const RecordSet sums = database.Query(
      "zbroj", ParseColumns("sifra,skladiste,stoji:float,doslo:float,vrijedi:currency,donijelo:currency"), R"(
SELECT a.sifra, k.sifra, SUM(z.stoji) / 1000000.0, SUM(z.doslo) / 1000000.0, SUM(z.vrijedi) / 10000.0,
  SUM(z.donijelo) / 10000.0
FROM
  (SELECT skl_id, art_id, kolicina AS stoji, vrijednost AS vrijedi, 0 AS doslo, 0 AS donijelo FROM skl_stanje
   UNION ALL
   SELECT skl_id, art_id, 0, 0, SUM(kolicina), SUM(vrijednost) FROM skl_promet GROUP BY skl_id, art_id) z
JOIN skladiste k ON k.id = z.skl_id
JOIN art a ON a.id = z.art_id
GROUP BY z.skl_id, z.art_id, a.sifra, k.sifra
HAVING SUM(z.stoji) <> SUM(z.doslo) OR SUM(z.vrijedi) <> SUM(z.donijelo)
ORDER BY k.sifra, a.sifra)");
  for (const RecordRow& row : sums.Rows()) {
    findings.push_back({"stock", "article " + row.AsText(0) + " in warehouse " + row.AsText(1),
                        "stands at " + ShortestNumber(row.AsFloat(2)) + ", its movements come to " +
                            ShortestNumber(row.AsFloat(3)) + "; it is worth " + row.AsCurrency(4).ToString() +
                            ", they " + row.AsCurrency(5).ToString()});
  }
  Tell(database.Query(
           "stavke", columns,
           "SELECT d.vrsta || ' ' || CAST(d.broj AS VARCHAR(20)) || '/' || CAST(d.godina AS VARCHAR(20)) "
           "|| ' (id ' || CAST(d.id AS VARCHAR(20)) || ')', "
           "'line ' || CAST(p.rb AS VARCHAR(20)) || ' has moved another quantity or article than it says' "
           "FROM skl_promet p JOIN dok d ON d.id = p.dok_id "
           "LEFT JOIN dok_stavke s ON s.dok_id = p.dok_id AND s.rb = p.rb "
           "WHERE s.id IS NULL OR s.art_id IS NULL OR s.art_id <> p.art_id "
           "OR p.kolicina <> " +
               CountedQuantitySql(database.dialect(), "s.kolicina") +
               " * "
               "CASE WHEN d.vrsta IN (" +
               KindsThatMove(StockDirection::kIn) + ") THEN 1 WHEN d.vrsta IN (" +
               KindsThatMove(StockDirection::kOut) + ") THEN -1 ELSE 0 END ORDER BY p.dok_id, p.rb"),
       findings);
}

}  // namespace mox
