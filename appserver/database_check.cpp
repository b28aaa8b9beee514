#include "appserver/database_check.h"

#include "appserver/partner_balances.h"
#include "appserver/stock_services.h"
#include "appserver/stored_document.h"
#include "mox/foundation/rounding.h"

namespace mox {
namespace {

void CheckFile(Database& database, std::vector<DatabaseFinding>& findings) {
  constexpr int kMost = 100;
  for (const std::string& damage : database.FindDamages(kMost)) findings.push_back({"file", "", damage});
}

// What is wrong with the figures of a document; empty where they agree.
std::string FaultOfTotals(Database& database, const StoredDocument& document) {
  if (document.figures_kind == nullptr) return "is of a kind that is not known";
  const RecordSet goods = ReadLines(database, document.id, "roba");
  const RecordSet services = ReadLines(database, document.id, "usluga");
  const RecordSet taxes = ReadRows(database, "dok_porezi", document.id);
  if (goods.IsEmpty() && services.IsEmpty()) return "has no lines";
  const DocumentSets sets{&goods, &services, &taxes, document.supplier_document};
  try {
    CheckFigures(*document.figures_kind, sets);
  } catch (const Error& error) {
    return error.what();
  }
  const std::optional<Currency> total = ToBePaid(*document.figures_kind, sets);
  const std::size_t stored = *document.header.FindFieldIndex("ukupno");
  if (document.header.IsNull(stored)) return {};
  if (!total)
    return "has the total " + document.header.AsCurrency(stored).ToString() + ", but its kind has none";
  if (R2(document.header.AsCurrency(stored)) == *total) return {};
  return "has the total " + document.header.AsCurrency(stored).ToString() + ", its lines have " +
         total->ToString();
}

void CheckTotals(Database& database, std::vector<DatabaseFinding>& findings) {
  const RecordSet documents =
      database.Query("dokumenti", ParseColumns("id:integer,vrsta,broj:integer,godina:integer"),
                     "SELECT id, vrsta, broj, godina FROM dok ORDER BY id");
  for (const RecordRow& row : documents.Rows()) {
    const auto document = ReadStoredDocument(database, row.AsInteger(0));
    const std::string fault = FaultOfTotals(database, document.value());
    if (fault.empty()) continue;
    findings.push_back(
        {"total", row.AsText(1) + ' ' + row.AsText(2) + '/' + row.AsText(3) + " (id " + row.AsText(0) + ')',
         fault});
  }
}

// Numbers are given one after the other from 1, and none is taken back.
void CheckNumbers(Database& database, std::vector<DatabaseFinding>& findings) {
  const RecordSet gaps =
      database.Query("praznine", ParseColumns("vrsta,godina:integer,od:integer,do:integer"), R"(
SELECT vrsta, godina, prije + 1, broj - 1
FROM (SELECT vrsta, godina, broj,
        COALESCE(LAG(broj) OVER (PARTITION BY vrsta, godina ORDER BY broj), 0) AS prije
      FROM dok) AS redom
WHERE broj > prije + 1 ORDER BY vrsta, godina, broj)");
  for (const RecordRow& gap : gaps.Rows()) {
    const std::string first = gap.AsText(2);
    const std::string last = gap.AsText(3);
    findings.push_back({"numbers", gap.AsText(0) + " " + gap.AsText(1),
                        first == last ? first + " is missing" : first + " to " + last + " are missing"});
  }
}

}  // namespace

std::vector<DatabaseFinding> FindFaults(Database& database) {
  const ReadTransaction snapshot(database);
  std::vector<DatabaseFinding> findings;
  CheckFile(database, findings);
  // Where the file is damaged, what it says of documents is not to be trusted.
  if (findings.empty()) CheckTotals(database, findings);
  CheckNumbers(database, findings);
  CheckStock(database, findings);
  CheckBalances(database, findings);
  return findings;
}

}  // namespace mox
