#include "appserver/partner_balances.h"

namespace mox {

void KeepBalances(Database& database) {
  database.Execute(
      "INSERT INTO par_saldo (par_id, duguje, potrazuje) "
      "SELECT par_id, SUM(CAST(ROUND(duguje * 10000) AS BIGINT)), "
      "SUM(CAST(ROUND(potrazuje * 10000) AS BIGINT)) FROM otvorene_stavke "
      "WHERE id > (SELECT stavka_id FROM par_saldo_do) GROUP BY par_id "
      "ON CONFLICT (par_id) DO UPDATE SET duguje = par_saldo.duguje + excluded.duguje, "
      "potrazuje = par_saldo.potrazuje + excluded.potrazuje");
  database.Execute(
      "UPDATE par_saldo_do SET stavka_id = (SELECT MAX(id) FROM otvorene_stavke) "
      "WHERE stavka_id < (SELECT MAX(id) FROM otvorene_stavke)");
}

void CatchUpBalances(Database& database) {
  constexpr std::int64_t kMany = 1000;
  try {
    const RecordSet behind = database.Query(
        "stavke", ParseColumns("n:integer"),
        "SELECT COALESCE((SELECT MAX(id) FROM otvorene_stavke), 0) - (SELECT stavka_id FROM par_saldo_do)");
    if (behind.AsInteger(0) <= kMany) return;
    WriteTransaction guard(database);
    KeepBalances(database);
    guard.Commit();
  } catch (const DatabaseError&) {
    return;  // somebody else will
  }
}

void SumBalancesAnew(Database& database) {
  database.Execute("DELETE FROM par_saldo");
  database.Execute("UPDATE par_saldo_do SET stavka_id = 0");
  KeepBalances(database);
}

void CheckBalances(Database& database, std::vector<DatabaseFinding>& findings) {
  const RecordSet faults =
      database.Query("saldo", ParseColumns("par_id:integer,vodi_se:currency,stavke:currency"),
                     "SELECT z.par_id, SUM(z.kept) / 10000.0, SUM(z.items) / 10000.0 FROM "
                     "(SELECT par_id, duguje - potrazuje AS kept, 0 AS items FROM par_saldo UNION ALL "
                     "SELECT par_id, 0, SUM(CAST(ROUND(duguje * 10000) AS BIGINT) - "
                     "CAST(ROUND(potrazuje * 10000) AS BIGINT)) FROM otvorene_stavke "
                     "WHERE id <= (SELECT stavka_id FROM par_saldo_do) GROUP BY par_id) z "
                     "GROUP BY z.par_id HAVING SUM(z.kept) <> SUM(z.items) ORDER BY z.par_id");
  for (const RecordRow& row : faults.Rows()) {
    findings.push_back({"balance", "partner " + row.AsText(0),
                        "the balance is kept as " + row.AsCurrency(1).ToString() + ", the items come to " +
                            row.AsCurrency(2).ToString()});
  }
}

}  // namespace mox
