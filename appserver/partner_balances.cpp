#include "appserver/partner_balances.h"

namespace mox {
namespace {

constexpr std::string_view kAddedUp =
    "SELECT par_id, SUM(CAST(ROUND(duguje * 10000) AS BIGINT)) AS duguje, "
    "SUM(CAST(ROUND(potrazuje * 10000) AS BIGINT)) AS potrazuje FROM otvorene_stavke ";

}  // namespace

void KeepBalances(Database& database) {
  const RecordSet last = database.Query(
      "stavke", ParseColumns("do:integer,zadnja:integer"),
      "SELECT (SELECT stavka_id FROM par_saldo_do), COALESCE((SELECT MAX(id) FROM otvorene_stavke), 0)");
  const std::int64_t kept = last.AsInteger(0);
  const std::int64_t newest = last.AsInteger(1);
  if (newest <= kept) return;
  const RecordSet added =
      database.Query("novo", ParseColumns("par_id:integer,duguje:integer,potrazuje:integer"),
                     std::string(kAddedUp) + "WHERE id > :do GROUP BY par_id ORDER BY par_id", {kept});
  for (const RecordRow& row : added.Rows()) {
    const std::initializer_list<Value> values = {row.AsInteger(1), row.AsInteger(2), row.AsInteger(0)};
    const std::int64_t changed = database.Execute(
        "UPDATE par_saldo SET duguje = duguje + :duguje, potrazuje = potrazuje + :potrazuje WHERE par_id = "
        ":par_id",
        values);
    if (changed != 0) continue;
    database.Execute(
        "INSERT INTO par_saldo (duguje, potrazuje, par_id) VALUES (:duguje, :potrazuje, :par_id)", values);
  }
  database.Execute("UPDATE par_saldo_do SET stavka_id = :id", {newest});
}

void SumBalancesAnew(Database& database) {
  database.Execute("DELETE FROM par_saldo");
  database.Execute("UPDATE par_saldo_do SET stavka_id = 0");
  KeepBalances(database);
}

void CheckBalances(Database& database, std::vector<DatabaseFinding>& findings) {
  const RecordSet faults =
      database.Query("saldo", ParseColumns("gdje,sto"),
                     "SELECT 'partner ' || CAST(z.par_id AS VARCHAR(20)), 'the balance is kept as ' || "
                     "CAST(SUM(z.kept) / 10000.0 AS VARCHAR(40)) || ', the items come to ' || "
                     "CAST(SUM(z.items) / 10000.0 AS VARCHAR(40)) FROM "
                     "(SELECT par_id, duguje - potrazuje AS kept, 0 AS items FROM par_saldo UNION ALL "
                     "SELECT par_id, 0, SUM(CAST(ROUND(duguje * 10000) AS BIGINT) - "
                     "CAST(ROUND(potrazuje * 10000) AS BIGINT)) FROM otvorene_stavke "
                     "WHERE id <= (SELECT stavka_id FROM par_saldo_do) GROUP BY par_id) z "
                     "GROUP BY z.par_id HAVING SUM(z.kept) <> SUM(z.items) ORDER BY z.par_id");
  for (const RecordRow& row : faults.Rows()) findings.push_back({"balance", row.AsText(0), row.AsText(1)});
}

}  // namespace mox
