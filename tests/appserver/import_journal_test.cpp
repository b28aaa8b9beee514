#include <gmock/gmock.h>
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
  // A set of the profile's fields in which each row has these values.
  static RecordSet Rows(std::string_view profile, std::initializer_list<std::pair<const char*, Value>> values,
                        const std::vector<std::string>& names, const char* name_field) {
    RecordSet rows = TypedRows(ImportFieldsOf(*FindImportProfile(profile)));
    for (const std::string& name : names) {
      rows.Append();
      for (const auto& [field, value] : values) rows.FieldByName(field).SetVariant(value);
      rows.FieldByName(name_field).SetText(name);
      rows.Post();
    }
    return rows;
  }
  static RecordSet Places(const std::vector<std::string>& names) {
    return Rows("MJESTA", {{"DRZAVA", std::string("HR")}}, names, "NAZIV");
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

TEST_P(ImportJournal, TakesBackOnlyRowsThatNobodyChangedOrRefersTo) {
  CompanyServer server{Database(path_)};
  Database& database = server.database();
  const std::string first = std::to_string(Number(database, "SELECT MAX(id) + 1 FROM mjesto"));
  const std::string second = std::to_string(std::stoll(first) + 1);
  ASSERT_EQ(Write(server, "MjestaImportInsert", Places({"Prvo", "Drugo", "Treće"})), "committed");

  // What is done to the rows, what is undone of that, and what is said of the import.
  const struct {
    std::string change;
    std::string restore;
    std::string refusal;
  } cases[] = {
      {"UPDATE mjesto SET ptt = '1' WHERE naziv = 'Drugo'",
       "UPDATE mjesto SET ptt = NULL WHERE naziv = 'Drugo'", "row 2 (mjesto " + second + ") was changed"},
      {"UPDATE mjesto SET drzava_id = NULL WHERE id >= " + first,
       "UPDATE mjesto SET drzava_id = (SELECT id FROM drzave WHERE oznaka = 'HR') WHERE id >= " + first,
       "row 3 (mjesto "},
      {"INSERT INTO par (naziv, mjesto_id) VALUES ('Ana', " + first + ")",
       "DELETE FROM par WHERE naziv = 'Ana'", "row 1 (mjesto " + first + ") is referred to by par.mjesto_id"},
      {"INSERT INTO dok (vrsta, godina, broj, datum) VALUES ('x', 2024, 1, '2024-03-01')", "", ""},
      {"INSERT INTO dok_veze (parent_table, parent_column, parent_doc_id, child_tip, child_doc_id) SELECT "
       "'mjesto', 'id', " +
           second + ", 'x', MAX(id) FROM dok",
       "DELETE FROM dok_veze", "row 2 (mjesto " + second + ") is referred to by dok_veze"},
      {"DELETE FROM mjesto WHERE id = " + first,
       "INSERT INTO mjesto (id, naziv, drzava_id) SELECT " + first +
           ", 'Prvo', id FROM drzave WHERE oznaka = 'HR'",
       "row 1 (mjesto " + first + ") is gone"},
  };
  for (const auto& row : cases) {
    database.Execute(row.change);
    if (row.refusal.empty()) continue;
    EXPECT_THAT(Undo(server, 1), testing::HasSubstr(row.refusal)) << row.change;
    EXPECT_EQ(Number(database, "SELECT COUNT(*) FROM uvoz WHERE ponisteno IS NULL"), 1);
    database.Execute(row.restore);
  }
  EXPECT_EQ(Undo(server, 1), "committed");
  EXPECT_EQ(Number(database, "SELECT COUNT(*) FROM mjesto WHERE id >= " + first), 0);
}

// What an import changed stands again as it stood, also where that was nothing.
TEST_P(ImportJournal, TakesBackWhatItChangedInRows) {
  CompanyServer server{Database(path_)};
  Database& database = server.database();
  database.Execute(
      "INSERT INTO lunari_artikli (barcode, naziv, nab_cij, prod_cij) VALUES "
      "('1', 'Hlače', '10,5', '99,9'), ('2', 'Kapa', NULL, NULL), ('3', 'Šal', '3', '5')");
  const auto articles = [&] {
    return database
        .Query("q", ParseColumns("barcode,naziv,nab_cij,prod_cij"),
               "SELECT barcode, naziv, nab_cij, prod_cij FROM lunari_artikli ORDER BY id")
        .SaveToString();
  };
  const std::string before = articles();
  ASSERT_EQ(Write(server, "UpdateArtikalaLunariImportInsert",
                  Rows("UPDATEARTLUNARI", {{"NAB_CIJ", std::string("8")}, {"PROD_CIJ", std::string("89,9")}},
                       {"2", "1"}, "BARCODE")),
            "committed");
  const std::string after = articles();
  EXPECT_NE(after, before);
  database.Execute("UPDATE lunari_artikli SET naziv = 'Hlačice' WHERE barcode = '1'");
  EXPECT_THAT(Undo(server, 1), testing::HasSubstr("lunari_artikli 1 was changed"));
  database.Execute("UPDATE lunari_artikli SET naziv = 'Hlače' WHERE barcode = '1'");
  EXPECT_EQ(articles(), after);
  EXPECT_EQ(Undo(server, 1), "committed");
  EXPECT_EQ(articles(), before);
}

// Articles and services of the same codes: each is named by lines of its own sort alone, as people write it.
TEST_P(ImportJournal, SeesWhatLinesNameByItsCode) {
  CompanyServer server{Database(path_)};
  Database& database = server.database();
  const std::vector<std::string> codes = {"K-1", "K-2"};
  ASSERT_EQ(Write(server, "ArtikliImportInsert",
                  Rows("ARTIKLI",
                       {{"NAZIV", std::string("Kruh")},
                        {"JM", std::string("kom")},
                        {"TBR", 25.0},
                        {"GRUPA", std::string("Roba")},
                        {"RABAT", std::string("Bez rabata")}},
                       codes, "SIFRA")),
            "committed");
  ASSERT_EQ(Write(server, "UslugeIPrijevodiImportInsert",
                  Rows("USLUGEIPRIJEVODI",
                       {{"AKTIVNA", true},
                        {"KONTO", std::string("120")},
                        {"NAZIV_HRV", std::string("Popravak")},
                        {"PC", 40.0}},
                       codes, "SIFRA")),
            "committed");
  database.Execute("INSERT INTO dok (vrsta, godina, broj, datum) VALUES ('x', 2024, 1, '2024-03-01')");
  const std::string article = std::to_string(Number(database, "SELECT id FROM art WHERE sifra = 'K-2'"));
  const std::string service = std::to_string(Number(database, "SELECT id FROM usluge WHERE sifra = 'K-2'"));
  const struct {
    std::string line;
    std::string of_articles;  // what is said of each import, "committed" where it is taken back
    std::string of_services;
  } cases[] = {
      {"'roba', NULL, ' k-2'", "row 2 (art " + article + ") is referred to by dok_stavke.sifra", ""},
      {"'roba', " + article + ", 'K-1'", "row 2 (art " + article + ") is referred to by dok_stavke.art_id",
       ""},
      {"'usluga', NULL, 'k-2 '", "", "row 2 (usluge " + service + ") is referred to by dok_stavke.sifra"},
  };
  server.SetRehearsing(true);
  for (const auto& row : cases) {
    SCOPED_TRACE(row.line);
    database.Execute("INSERT INTO dok_stavke (dok_id, rb, sorta, art_id, sifra) SELECT id, 1, " + row.line +
                     " FROM dok");
    for (const auto& [import, refusal] : {std::pair(1, row.of_articles), std::pair(2, row.of_services)}) {
      EXPECT_EQ(Undo(server, import),
                refusal.empty() ? "committed"
                                : "import " + std::to_string(import) + " cannot be taken back: " + refusal);
    }
    database.Execute("DELETE FROM dok_stavke");
  }
}

// All places that the loser has in common with the winner are named, but no more than twenty of them.
TEST_P(ImportJournal, RefusesTheLoserOfTwoImportsWithItsRows) {
  CompanyServer one{Database(path_)};
  CompanyServer other{Database(path_)};
  std::vector<std::string> names;
  for (int i = 1; i <= 30; ++i) names.push_back("Selo " + std::to_string(i));
  ASSERT_EQ(Write(one, "MjestaImportInsert", Places(names)), "committed");
  EXPECT_EQ(Write(other, "MjestaImportInsert", Places({"Novo", "SELO 7", "selo 7 ", "Selo 9"})),
            "is in the database already, in 2 rows: 2 \"SELO 7\", 4 \"Selo 9\"");
  EXPECT_THAT(Write(other, "MjestaImportInsert", Places(names)),
              testing::EndsWith("20 \"Selo 20\" and 10 more"));
  EXPECT_EQ(Write(other, "MjestaImportInsert", Places({"Novo", "Selo 9"})),
            "is in the database already, in row 2 \"Selo 9\"");
}

TEST_P(ImportJournal, LeavesNothingOfARehearsal) {
  CompanyServer server{Database(path_)};
  const auto counts = [&] {
    return std::pair(Number(server.database(), "SELECT COUNT(*) FROM mjesto"),
                     Number(server.database(), "SELECT COUNT(*) FROM uvoz"));
  };
  const auto before = counts();
  server.SetRehearsing(true);
  EXPECT_EQ(Write(server, "MjestaImportInsert", Places({"Selo"})), "committed");
  EXPECT_EQ(counts(), before);
  EXPECT_EQ(Undo(server, 1), "there is no import 1");
  server.SetRehearsing(false);
  EXPECT_EQ(Write(server, "MjestaImportInsert", Places({"Selo"})), "committed");
  EXPECT_NE(counts(), before);
}

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
