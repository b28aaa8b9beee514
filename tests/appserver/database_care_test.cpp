#include <gmock/gmock.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <fstream>

#include "appserver/database_check.h"
#include "appserver/partner_balances.h"
#include "mox/foundation/files.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/own_process.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

void StoreDocument(Database& database, int number) {
  WriteTransaction transaction(database);
  const std::string id = std::to_string(number);
  database.Execute("INSERT INTO dok (id, vrsta, godina, broj, datum) VALUES (" + id +
                   ", 'gotovinski-racun', 2024, " + id + ", '2024-03-01')");
  for (int line = 1; line <= 3; ++line) {
    database.Execute("INSERT INTO dok_stavke (dok_id, rb, sorta, kolicina, tbr_stp, naziv) VALUES (" + id +
                     ", " + std::to_string(line) + ", 'roba', 0, 25, '" + std::string(150, 'x') + "')");
  }
  database.Execute("INSERT INTO dok_porezi (dok_id, rb, stopa, osnovica, porez, ukupno) VALUES (" + id +
                   ", 1, 25, 0, 0, 0)");
  transaction.Commit();
}

std::int64_t Count(const std::string& path, const std::string& from) {
  Database database(path, Database::Access::kReadOnly);
  return Number(database, "SELECT COUNT(*) FROM " + from);
}

class DatabaseCare : public ScratchFile {
 protected:
  std::string InFolder(const char* name) const { return folder_ / name; }
  void Restore(const std::string& copy) const { Database(copy, Database::Access::kReadOnly).Restore(path_); }
};

TEST_F(DatabaseCare, CopiesWholeTransactionsWhileAnotherProgramWrites) {
  const pid_t writer = Fork([&] {
    Database database(path_);
    for (int number = 1;; ++number) StoreDocument(database, number);
  });
  while (Count(path_, "dok") == 0) ::usleep(1000);
  std::int64_t before = 0;
  for (int i = 0; i < 10; ++i) {
    const std::string copy = InFolder(("kopija" + std::to_string(i)).c_str());
    Database(path_, Database::Access::kReadOnly).BackUp(copy, [] {});  // in portions
    EXPECT_EQ(fs::status(copy).permissions(), fs::perms(0600));
    const std::int64_t documents = Count(copy, "dok");
    EXPECT_EQ(Count(copy, "dok_stavke"), 3 * documents);
    EXPECT_EQ(Count(copy, "(SELECT MAX(broj) AS n FROM dok) WHERE n = " + std::to_string(documents)), 1);
    EXPECT_GE(documents, before);
    before = documents;
  }
  EXPECT_GT(before, 1);
  ::kill(writer, SIGKILL);
  EXPECT_TRUE(WIFSIGNALED(StatusOf(writer)));
  const std::string bytes = ReadWholeFile(InFolder("kopija0"));
  EXPECT_THROW(Database(path_).BackUp(InFolder("kopija0")), DatabaseError);
  EXPECT_THROW(Database(path_).BackUp(InFolder("pola.db"), [] { throw Abort(); }), Abort);
  EXPECT_FALSE(fs::exists(InFolder("pola.db")));
  EXPECT_EQ(ReadWholeFile(InFolder("kopija0")), bytes);
}

// What stands in the place of the database before, each time.
TEST_F(DatabaseCare, PutsACopyInThePlaceOfWhatIsLeft) {
  const std::string copy = InFolder("kopija.db");
  {
    Database database(path_);
    StoreDocument(database, 1);
    database.BackUp(copy);
  }
  const auto expect_restored = [&](const char* what) {
    SCOPED_TRACE(what);
    Restore(copy);
    EXPECT_FALSE(fs::exists(path_ + "-wal") || fs::exists(path_ + "-journal"));
    EXPECT_EQ(Count(path_, "dok"), 1);
    Database database(path_);
    EXPECT_THAT(FindFaults(database), testing::IsEmpty());
    StoreDocument(database, 2);
  };
  expect_restored("a newer database");
  fs::permissions(path_, fs::perms(0660));
  expect_restored("the same, which its group may use");
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0660));
  ReplaceFile(path_, ReadWholeFile(path_).substr(0, 5000));
  expect_restored("a damaged file");
  std::ofstream(path_) << "Dragi";
  std::ofstream(path_ + "-wal") << "log";
  expect_restored("another file with a left-over log");
  fs::remove(path_);
  std::ofstream(path_ + "-wal") << "log";
  expect_restored("nothing but a left-over log");
  fs::rename(path_, InFolder("negdje.db"));
  fs::create_symlink("negdje.db", path_);
  expect_restored("a link");
  EXPECT_TRUE(fs::is_symlink(path_));
}

TEST_F(DatabaseCare, ReplacesNoDatabaseThatIsUsed) {
  const std::string copy = InFolder("kopija.db");
  Database(path_).BackUp(copy);
  const auto message = [&] { return ErrorOf<DatabaseError>([&] { Restore(copy); }); };
  {
    Database user(path_);
    StoreDocument(user, 1);
    EXPECT_EQ(message(), path_ + ": other programs are using it; nothing was changed");
    StoreDocument(user, 2);
  }
  {
    Database reader(path_, Database::Access::kReadOnly);
    const ReadTransaction snapshot(reader);
    EXPECT_EQ(reader.TableNames().empty(), false);
    EXPECT_NE(message(), "");
  }
  EXPECT_EQ(Count(path_, "dok"), 2);
  fs::resize_file(copy, fs::file_size(copy) / 2);
  EXPECT_NE(message(), "") << "a damaged copy";
  EXPECT_EQ(Count(path_, "dok"), 2);

  Database(path_).BackUp(InFolder("druga.db"));
  fs::create_hard_link(path_, InFolder("stara.db"));  // as one sees the file who opened it just before
  Restore(InFolder("druga.db"));
  EXPECT_THROW(Database(InFolder("stara.db")), DatabaseError);
}

using DatabaseCheck = ScratchDatabase;

TEST_P(DatabaseCheck, FindsWhatIsWrong) {
  Database database(path_);
  for (const int number : {2, 3, 7}) StoreDocument(database, number);
  const auto found = [&](const Words& row) {
    for (const std::string& change : row) database.Execute(change);
    std::string text;
    for (const auto& [check, where, finding] : FindFaults(database)) {
      text += check + "|" + where + "|" + finding + "\n";
    }
    return text;
  };
  ExpectTables("database_check", {{"found", found}}, "appserver");
  if (IsPostgresql()) return;  // which stores no row that refers to none
  database.Execute("PRAGMA foreign_keys = OFF");
  EXPECT_THAT(found({"INSERT INTO dok_stavke (dok_id, rb, sorta) VALUES (99, 1, 'roba')"}),
              testing::StartsWith("file||a row of dok_stavke refers to one of dok that is not there\n"));
}

// Whatever of an item comes first: its debt in euros of 2022, or what was paid of it.
TEST_P(DatabaseCheck, KeepsTheBalanceOfItsItems) {
  Database database(path_);
  const std::string payment = "(1, 'R', '2022-12-15', '2022-12-15', 0, 753, NULL)";
  const std::string debt = "(1, 'R', '2022-11-30', '2022-11-30', 753, 0, 7.53)";
  const std::string later = "(1, 'R', '2023-01-31', '2023-01-31', 0, 5, 9)";  // of no kunas
  for (const auto& rows :
       {std::array{debt, payment, later}, {payment, debt, later}, {later, payment, debt}}) {
    database.Execute("DELETE FROM otvorene_stavke");
    SumBalancesAnew(database);
    for (const std::string& row : rows) {
      database.Execute(
          "INSERT INTO otvorene_stavke (par_id, br_dok, datum_pp, datum_dos, duguje, potrazuje, "
          "kuna_za_euro) VALUES " +
          row);
      KeepBalances(database);
      EXPECT_THAT(FindFaults(database), testing::IsEmpty()) << row;
    }
    EXPECT_EQ(Number(database, "SELECT duguje - potrazuje FROM par_saldo WHERE par_id = 1"), -50'000);
  }
}

// All rows of all tables.
std::string Contents(const std::string& path) {
  Database database(path, Database::Access::kReadOnly);
  std::string contents;
  for (const std::string& table : database.TableNames()) {
    contents += database.Query(table, database.TableColumns(table), "SELECT * FROM " + table + " ORDER BY id")
                    .SaveToString();
  }
  return contents;
}

// A copy is a file whatever was copied, and takes the place of a company on a server too.
TEST_P(DatabaseCheck, CopiesHoldAllRows) {
  {
    Database database(path_);
    for (const int number : {1, 2}) StoreDocument(database, number);
    database.Execute("UPDATE dok SET stornira_id = 1 WHERE id = 2");
    database.Execute(
        "UPDATE par SET naziv = :t, odgoda = 0.1, tuzeni_iznos = -449999999999.1234 WHERE id = 1",
        {std::string("a\tb\\N\n\"č\" \\")});
    database.Execute("DELETE FROM mjesto WHERE ptt = '10410'");
  }
  const std::string contents = Contents(path_);
  const std::string copy = folder_ / "kopija.db";
  Database(path_, Database::Access::kReadOnly).BackUp(copy);
  EXPECT_TRUE(Contents(copy) == contents);
  EXPECT_THROW(Database(path_, Database::Access::kReadOnly).BackUp(copy), DatabaseError);

  if (!IsPostgresql()) return;
  const DatabaseLocation server = PostgresqlServer::NewCompany();
  EXPECT_EQ(Database(copy, Database::Access::kReadOnly).Restore(server), "");
  Database(server).Execute("INSERT INTO mjesto (naziv) VALUES ('Novo')");
  EXPECT_EQ(Database(copy, Database::Access::kReadOnly).Restore(server), "replaced_1_" + server.schema());
  EXPECT_TRUE(Contents(server.ToString()) == contents);
  EXPECT_TRUE(FindFaults(*std::make_unique<Database>(server)).empty());
  // A number that files alone keep.
  Database(copy).Execute("UPDATE par SET dani_kasnjenja = 3000000000 WHERE id = 2");
  EXPECT_THAT(ErrorOf([&] { Database(copy, Database::Access::kReadOnly).Restore(server); }),
              testing::HasSubstr("out of range for type integer (par, id 2)"));
  EXPECT_TRUE(Contents(server.ToString()) == contents);
  PostgresqlServer::Run(server, "DROP SCHEMA \"replaced_1_" + server.schema() + "\" CASCADE");
  PostgresqlServer::Drop(server);
}

MOX_ON_EVERY_ENGINE(DatabaseCheck);

}  // namespace
}  // namespace mox
