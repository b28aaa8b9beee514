#include <gtest/gtest.h>
#include <unistd.h>

#include <random>

#include "appserver/company_server.h"
#include "mox/import/import_check.h"
#include "mox/import/import_profiles.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/how_many.h"
#include "tests/fakes/own_process.h"

namespace mox {
namespace {

class ImportJournal : public ScratchDatabase {
 protected:
  static RecordSet Places(const std::vector<std::string>& names) {
    RecordSet rows = TypedRows(ImportFieldsOf(*FindImportProfile("MJESTA")));
    for (const std::string& name : names) {
      rows.Append();
      rows.FieldByName("DRZAVA").SetText("HR");
      rows.FieldByName("NAZIV").SetText(name);
      rows.Post();
    }
    return rows;
  }

  // "committed", or why it was refused.
  static std::string Write(CompanyServer& server, std::string_view transaction, const RecordSet& records) {
    const int answer = server.WriteDataService(RequestOf(transaction, {&records}));
    return answer != 0 ? "committed" : server.LastWrite().failure->message;
  }
  static std::string Undo(CompanyServer& server, std::int64_t import) {
    return Write(server, "PonistiUvoz", OneRecord("adsUvoz", "id:integer", {import}));
  }
};

TEST_P(ImportJournal, LetsOneOfTwoProcessesStoreASheet) {
  std::vector<std::string> names;
  for (int i = 1; i <= 200; ++i) names.push_back("Selo " + std::to_string(i));
  for (int trial = 0; trial < 3; ++trial) {
    const auto import = [&] {
      CompanyServer server{Database(path_)};
      if (Write(server, "MjestaImportInsert", Places(names)) != "committed") throw Error("refused");
    };
    const pid_t children[] = {Fork(import), Fork(import)};
    EXPECT_EQ(WEXITSTATUS(StatusOf(children[0])) + WEXITSTATUS(StatusOf(children[1])), 1);
    CompanyServer server{Database(path_)};
    EXPECT_EQ(Number(server.database(), "SELECT COUNT(*) FROM mjesto WHERE naziv LIKE 'Selo %'"), 200);
    EXPECT_EQ(Undo(server, trial + 1), "committed");
  }
}

// One process takes an import back while another one stores what refers to it: one of them finds that it is
// too late.
TEST_P(ImportJournal, TakesBackOrIsReferredToByAnotherProcess) {
  for (int trial = 1; trial <= 4; ++trial) {
    {
      CompanyServer server{Database(path_)};
      ASSERT_EQ(Write(server, "MjestaImportInsert", Places({"Selo"})), "committed");
    }
    const pid_t child = Fork([&] {
      CompanyServer server{Database(path_)};
      ::usleep(static_cast<unsigned>(trial % 2) * 3000);
      if (Undo(server, trial) != "committed") throw Error("refused");
    });
    Database database(path_);
    ::usleep(static_cast<unsigned>(trial / 2) * 3000);
    {
      WriteTransaction transaction(database);
      database.Execute(
          "INSERT INTO par (naziv, mjesto_id) SELECT 'Ana', id FROM mjesto WHERE naziv = 'Selo'");
      transaction.Commit();
    }
    const bool undone = WEXITSTATUS(StatusOf(child)) == 0;
    EXPECT_EQ(Number(database, "SELECT COUNT(*) FROM par WHERE naziv = 'Ana'"), undone ? 0 : 1);
    EXPECT_EQ(Number(database, "SELECT COUNT(*) FROM mjesto WHERE naziv = 'Selo'"), undone ? 0 : 1);
    EXPECT_TRUE(database.FindDamages(1).empty());
    database.Execute("DELETE FROM par WHERE naziv = 'Ana'");
    if (!undone) {
      CompanyServer server{Database(path_)};
      EXPECT_EQ(Undo(server, trial), "committed");
    }
  }
}

// Imports and takes back without end, until it is killed.
TEST_P(ImportJournal, KeepsImportsWholeWhenTheirProcessIsKilled) {
  constexpr std::int64_t kRows = 300;
  std::vector<std::string> names;
  for (std::int64_t i = 1; i <= kRows; ++i) names.push_back("Selo " + std::to_string(i));
  std::mt19937 random(5);
  std::size_t found_stored = 0;
  for (std::int64_t crash = HowMany("MOX_CRASHES", 12); crash > 0; --crash) {
    KilledProgram<char> program([&](const auto& tell) {
      CompanyServer server{Database(path_)};
      tell('x');
      for (;;) {
        RecordSet left = server.database().Query("q", ParseColumns("id:integer"),
                                                 "SELECT id FROM uvoz WHERE ponisteno IS NULL");
        const std::string done = left.IsEmpty() ? Write(server, "MjestaImportInsert", Places(names))
                                                : Undo(server, left.AsInteger(0));
        if (done != "committed") throw Error(done);
      }
    });
    program.Next();
    program.KillAfter(random() % 120'000);

    Database database(path_);
    database.Check();
    const std::int64_t stored = Number(database, "SELECT COUNT(*) FROM mjesto WHERE naziv LIKE 'Selo %'");
    const std::int64_t valid = Number(database, "SELECT COUNT(*) FROM uvoz WHERE ponisteno IS NULL");
    EXPECT_TRUE(stored == 0 || stored == kRows) << stored;
    EXPECT_EQ(valid, stored / kRows);
    found_stored += stored > 0 ? 1U : 0U;
  }
  std::printf("found stored %zu times\n", found_stored);
}

MOX_ON_EVERY_ENGINE(ImportJournal);

}  // namespace
}  // namespace mox
