#include "appserver/database_check.h"

namespace mox {
namespace {

void CheckFile(Database& database, std::vector<DatabaseFinding>& findings) {
  constexpr int kMost = 100;
  for (const std::string& damage : database.FindDamages(kMost)) findings.push_back({"file", "", damage});
}

// Numbers are given one after the other from 1, and none is taken back.
void CheckNumbers(Database& database, std::vector<DatabaseFinding>& findings) {
  RecordSet gaps = database.Query("praznine", ParseColumns("vrsta,godina:integer,od:integer,do:integer"), R"(
SELECT vrsta, godina, prije + 1, broj - 1
FROM (SELECT vrsta, godina, broj,
        COALESCE(LAG(broj) OVER (PARTITION BY vrsta, godina ORDER BY broj), 0) AS prije
      FROM dok) AS redom
WHERE broj > prije + 1 ORDER BY vrsta, godina, broj)");
  for (; !gaps.Eof(); gaps.Next()) {
    const std::string first = gaps.AsText(2);
    const std::string last = gaps.AsText(3);
    findings.push_back({"numbers", gaps.AsText(0) + " " + gaps.AsText(1),
                        first == last ? first + " is missing" : first + " to " + last + " are missing"});
  }
}

}  // namespace

std::vector<DatabaseFinding> FindFaults(Database& database) {
  const ReadTransaction snapshot(database);
  std::vector<DatabaseFinding> findings;
  CheckFile(database, findings);
  CheckNumbers(database, findings);
  return findings;
}

}  // namespace mox
