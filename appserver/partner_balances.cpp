#include "appserver/partner_balances.h"

#include "appserver/book_currency.h"

namespace mox {
namespace {

std::string Whole(std::string_view amount) {
  return "CAST(ROUND(" + std::string(amount) + " * 10000) AS BIGINT)";
}
std::string SumOf(const std::string& amount) { return "CAST(SUM(" + amount + ") AS BIGINT)"; }
std::string Where(const std::string& condition, const std::string& amount) {
  return "CASE WHEN " + condition + " THEN " + amount + " ELSE 0 END";
}

// Kunas for one euro, of those of the rows; null where none has a rate.
std::string RateWhere(const std::string& condition) {
  return "MAX(CASE WHEN " + condition + " THEN o.kuna_za_euro END)";
}

struct RowSql {
  std::string in_kunas = IsInKunas("o.datum_pp");
  std::string debt = Whole("o.duguje");
  std::string paid = Whole("o.potrazuje");
  std::string open = debt + " - " + paid;

  std::string InEuros(const std::string& amount) const {
    return "(" + WholeEurosOfKunas(SumOf(Where(in_kunas, amount)), RateWhere(in_kunas)) + " + " +
           SumOf(Where("NOT " + in_kunas, amount)) + ")";
  }
};

}  // namespace

std::string OpenInEuros() {
  const RowSql row;
  return row.InEuros(row.open);
}

std::string DebtInEuros() {
  const RowSql row;
  return row.InEuros(row.debt);
}

// In kunas each item changes by what it is with these rows less what it is without them, either at the rate
// of its own rows. Of that the debts are converted, where there are payments too, and the payments are the
// rest.
std::string ChangeOfBalances(const std::string& condition) {
  const RowSql row;
  const std::string is_meant = "(" + condition + ")";
  const std::string items =
      "SELECT DISTINCT o.par_id, o.br_dok FROM otvorene_stavke o WHERE " + is_meant + " AND " + row.in_kunas;
  const std::string sums =
      "SELECT o.par_id, " + SumOf(row.open) + " AS sve, " + SumOf(Where("NOT " + is_meant, row.open)) +
      " AS ostalo, " + SumOf(Where(is_meant, row.debt)) + " AS dug, " + SumOf(Where(is_meant, row.paid)) +
      " AS placeno, MAX(o.kuna_za_euro) AS tecaj, " + RateWhere("NOT " + is_meant) +
      " AS tecaj_ostalih FROM (" + items +
      ") t JOIN otvorene_stavke o ON o.par_id = t.par_id AND o.br_dok = t.br_dok WHERE " + row.in_kunas +
      " GROUP BY o.par_id, o.br_dok";
  const std::string changes =
      "SELECT x.par_id, x.dug, x.placeno, x.tecaj, " + WholeEurosOfKunas("x.sve", "x.tecaj") + " - " +
      WholeEurosOfKunas("x.ostalo", "x.tecaj_ostalih") + " AS promjena FROM (" + sums + ") x";
  const std::string debts =
      "CASE WHEN y.placeno = 0 THEN y.promjena ELSE " + WholeEurosOfKunas("y.dug", "y.tecaj") + " END";
  return "SELECT o.par_id, " + row.debt + " AS duguje, " + row.paid +
         " AS potrazuje FROM otvorene_stavke o WHERE " + is_meant + " AND NOT " + row.in_kunas +
         " UNION ALL SELECT y.par_id, " + debts + ", " + debts + " - y.promjena FROM (" + changes + ") y";
}

void KeepBalances(Database& database) {
  static const std::string keep =
      "INSERT INTO par_saldo (par_id, duguje, potrazuje) SELECT z.par_id, SUM(z.duguje), SUM(z.potrazuje) "
      "FROM (" +
      ChangeOfBalances(kSinceKept) +
      ") z WHERE TRUE GROUP BY z.par_id ON CONFLICT (par_id) DO UPDATE SET duguje = par_saldo.duguje + "
      "excluded.duguje, potrazuje = par_saldo.potrazuje + excluded.potrazuje";
  database.Execute(keep);
  database.Execute(
      "UPDATE par_saldo_do SET stavka_id = (SELECT MAX(id) FROM otvorene_stavke) "
      "WHERE stavka_id < (SELECT MAX(id) FROM otvorene_stavke)");
}

void CatchUpBalances(Database& database) {
  constexpr std::int64_t kMany = 1000;
  // Who stores again and again looks now and then only.
  constexpr unsigned kLooksEach = 64;
  if (!database.IsTurn(kLooksEach)) return;
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
                     "SELECT o.par_id, 0, " +
                         OpenInEuros() +
                         " FROM otvorene_stavke o WHERE o.id <= (SELECT stavka_id FROM par_saldo_do) "
                         "GROUP BY o.par_id, o.br_dok) z "
                         "GROUP BY z.par_id HAVING SUM(z.kept) <> SUM(z.items) ORDER BY z.par_id");
  for (const RecordRow& row : faults.Rows()) {
    findings.push_back({"balance", "partner " + row.AsText(0),
                        "the balance is kept as " + row.AsCurrency(1).ToString() + ", the items come to " +
                            row.AsCurrency(2).ToString()});
  }
}

}  // namespace mox
