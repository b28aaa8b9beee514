#include "appserver/database.h"

#include <gmock/gmock.h>
#include <unistd.h>

#include <algorithm>
#include <random>

#include "appserver/book_currency.h"
#include "appserver/company_server.h"
#include "appserver/fold.h"
#include "appserver/migrations.h"
#include "appserver/stock.h"
#include "mox/codes/exchange_rates.h"
#include "mox/documents/quantity.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/own_process.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;
using DatabaseTest = ScratchDatabase;
using DatabaseFileTest = ScratchFile;

constexpr const char* kInsertXX = "INSERT INTO drzave (oznaka, naziv) VALUES ('XX', 'x')";
constexpr const char* kFoundXX = "SELECT COUNT(*) FROM drzave WHERE oznaka = 'XX'";

// PostgreSQL stores texts of UTF-8 alone, and no binaries.
class KindsTest : public ScratchDatabase {
 protected:
  static Columns KindColumns() {
    return ParseColumns(
        std::string(
            "tekst:text,cijeli:integer,da:boolean,broj:float,iznos:currency,dan:date,trenutak:datetime,"
            "slika:") +
        (IsPostgresql() ? "text" : "binary"));
  }
  static void CreateKinds(Database& database) {
    database.Execute(
        std::string(
            "CREATE TABLE vrste (tekst VARCHAR(200), cijeli BIGINT, da BOOLEAN, broj DOUBLE PRECISION, "
            "iznos NUMERIC(19,4), dan DATE, trenutak TIMESTAMP, slika ") +
        (IsPostgresql() ? "TEXT" : "BLOB") + ", redom BIGINT)");
  }
};

TEST_P(KindsTest, GivesBackWhatItStored) {
  RecordSet stored("vrste");
  for (const FieldDef& column : KindColumns()) stored.DefineField(column);
  stored.Open();
  stored.AppendRecord({});
  stored.AppendRecord(
      {std::string("O'Neil; DROP TABLE vrste--\n\"č\" \xF0\x9F\x98\x80") + (IsPostgresql() ? "" : "\xFF"),
       INT64_MIN, true, 0.1, Currency::FromScaled(4'500'000'000'000'000), Date{-719162},
       DateTime{-62135596800000}, IsPostgresql() ? std::string("'") : std::string("\0\xFF'", 3)});
  stored.AppendRecord({std::string(), INT64_MAX, false, -5e-324, Currency::FromScaled(-4'499'999'999'999'999),
                       Date{2932896}, DateTime{253402300799001}, std::string()});
  std::mt19937_64 random(1);
  for (int i = 0; i < 5000; ++i) {
    const auto scaled = static_cast<std::int64_t>(random() % 9'000'000'000'000'001) - 4'500'000'000'000'000;
    stored.AppendRecord({std::monostate{}, std::monostate{}, std::monostate{},
                         static_cast<double>(scaled) / 7, Currency::FromScaled(scaled)});
  }

  Database database(path_);
  CreateKinds(database);
  EXPECT_EQ(database.TableColumns("vrste")[4].kind, FieldKind::kCurrency);
  std::vector<FieldKind> kinds;
  for (const FieldDef& column : KindColumns()) kinds.push_back(column.kind);
  kinds.push_back(FieldKind::kInteger);
  {
    WriteTransaction transaction(database);
    Statement insert =
        database.Prepare("INSERT INTO vrste VALUES (:a, :b, :c, :d, :e, :f, :g, :h, :i)", kinds);
    std::int64_t number = 0;
    for (const RecordRow& row : stored.Rows()) {
      for (std::size_t i = 0; i + 1 < kinds.size(); ++i) insert.Bind(i, row, i);
      insert.Bind(kinds.size() - 1, Value(++number));
      EXPECT_EQ(insert.Execute(), 1);
    }
    transaction.Commit();
  }
  const RecordSet read =
      database.Query("vrste", KindColumns(),
                     "SELECT tekst, cijeli, da, broj, iznos, dan, trenutak, slika FROM vrste ORDER BY redom");
  EXPECT_TRUE(read.SaveToString() == stored.SaveToString());
}

TEST_P(KindsTest, AnswersTables) {
  Database database(path_);
  CreateKinds(database);
  ExpectTables(
      "database",
      {{"refused values",
        [&](const Words& row) {
          FieldKind kind{};
          EXPECT_TRUE(KindFromName(row[0], kind));
          Statement statement = database.Prepare("SELECT :v", {kind});
          if (row[1] == "NUL") {
            statement.Bind(0, std::string("a\0b", 3));
          } else if (row[1] == "infinity") {
            statement.Bind(0, HUGE_VAL);
          } else if (row[1] == "year 10000") {
            statement.Bind(0, Date{2932897});
          } else if (row[1] == "one more") {
            statement.Bind(1, row[1]);
          } else {
            statement.Bind(0, row[1]);
          }
          return std::string("taken");
        }},
       {"values of other tools",
        [&](const Words& row) {
          RecordSet answer = database.Query("q", ParseColumns(row[0]), "SELECT " + row[1]);
          return answer.AsText(0);
        }},
       {"statements",
        [&](const Words& row) { return std::to_string(database.Execute(row[0], {std::string("x")})); }},
       {"found",
        [&](const Words& row) {
          database.Execute("DELETE FROM vrste");
          database.Execute("INSERT INTO vrste (tekst) VALUES (:t)", {row[0]});
          std::int64_t rows = 0;
          for (const std::string& key : FoldKeys(row[1])) {
            rows += Number(database, "SELECT COUNT(*) FROM vrste WHERE fold(tekst) = :k", {key});
          }
          return std::to_string(rows) + "/" + std::to_string(FoldKeys(row[1]).size());
        }}},
      "appserver");
}

TEST_P(DatabaseTest, FoldsAsItsSqlDoes) {
  Database database(path_);
  Statement fold = database.Prepare("SELECT fold(:t)", {FieldKind::kText});
  RecordSet folded = EmptySet("q", "t");
  std::vector<std::string> texts;
  for (char32_t c = 1; c < 0x10000; ++c) {
    std::string letter;
    AppendUtf8(letter, c);
    if (c < 0x80 || FoldCase(letter) != letter) texts.push_back(letter);
  }
  std::mt19937 random(2);
  constexpr std::string_view kBytes = " \t\r\nAzČčĐŽÄŐű\xC4\xC3\xC5\x89\xFF'";
  for (int i = 0; i < 5000; ++i) {
    std::string& text = texts.emplace_back();
    for (std::size_t size = random() % 12; size > 0; --size) text += kBytes[random() % kBytes.size()];
  }
  if (IsPostgresql()) std::erase_if(texts, [](const std::string& text) { return !IsValidUtf8(text); });
  for (const std::string& text : texts) {
    fold.BindText(0, text);
    fold.ExecuteInto(folded);
    EXPECT_EQ(folded.AsText(0), FoldKey(text)) << text;
  }
  // An index on a folded column serves the query.
  EXPECT_TRUE(UsesIndex(database, "SELECT id FROM valuta WHERE fold(oznaka) = 'eur'"));
}

// Each row damages the file and tells what opening or checking it says.
TEST_F(DatabaseFileTest, RefusesWhatItCannotTrust) {
  const std::string bytes = ReadWholeFile(path_);
  const std::string path = folder_ / "f.db";
  ExpectTables("refused_files",
               {{"files",
                 [&](const Words& row) {
                   std::string damaged = bytes;
                   const auto at = static_cast<std::size_t>(ParseInteger(row[1]));
                   if (row[0] == "cut") damaged.resize(at);
                   if (row[0] == "flip") damaged[at] = static_cast<char>(~damaged[at]);
                   if (row[0] == "text") damaged = "Račun 12\n";
                   fs::remove(path);
                   if (row[0] != "missing") ReplaceFile(path, damaged);
                   const std::string message = ErrorOf<DatabaseError>([&] {
                     Database(row[0] == "folder" ? folder_.path().string() : path,
                              Database::Access::kReadOnly)
                         .Check();
                   });
                   EXPECT_EQ(message.find('\n'), std::string::npos);
                   return message.empty() ? "taken" : message.substr(message.find(": ") + 2);
                 }}},
               "appserver");
}

TEST_F(DatabaseFileTest, CreatesWholeFilesOrNone) {
  {
    Database database(path_);
    database.Execute(kInsertXX);
    for (const char* const ending : {"", "-wal", "-shm"}) {
      EXPECT_EQ(fs::status(path_ + ending).permissions(), fs::perms(0600)) << ending;
    }
  }
  const std::string before = ReadWholeFile(path_);
  EXPECT_THROW(Database::Create(path_), DatabaseError);
  EXPECT_EQ(ReadWholeFile(path_), before);

  const std::string path = folder_ / "puna.db";
  const auto limit_and_create = [&] {
    const FullDisk disk(100'000);
    const std::string told = ErrorOf<DatabaseError>([&] { Database::Create(path); });
    std::fputs(told.c_str(), stderr);
    std::exit(told.starts_with(path + ": the file ") ? 0 : 1);
  };
  EXPECT_EXIT(limit_and_create(), testing::ExitedWithCode(0), "");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.path()), {}), 1);  // the one database
}

// A process loses the engine's locks on a file when it closes any descriptor of it; others are not to take
// the file for one that nobody uses, and to delete its log.
TEST_F(DatabaseFileTest, IsInUseAlsoWhereItsFilesWereLookedAt) {
  int ends[2] = {};
  ASSERT_EQ(::pipe(ends), 0);
  const pid_t other = Fork([&] {
    char go = 0;
    if (::read(ends[0], &go, 1) != 1 || Number(*std::make_unique<Database>(path_), kFoundXX) != 1)
      std::_Exit(1);
  });
  {
    Database database(path_);
    database.Execute(kInsertXX);
    for (const char* const ending : {"", "-wal", "-shm"}) ReadWholeFile(path_ + ending);
    EXPECT_EQ(::write(ends[1], "x", 1), 1);
    EXPECT_EQ(StatusOf(other), 0);
    EXPECT_TRUE(fs::exists(path_ + "-wal"));
    database.Execute("UPDATE drzave SET naziv = 'y' WHERE oznaka = 'XX'");
  }
  EXPECT_FALSE(fs::exists(path_ + "-wal")) << "the last one tidies up";
  for (const int end : ends) ::close(end);
}

// A user who may not write the folder, with and without a log that is left over, and a disk that takes
// nothing.
TEST_F(DatabaseFileTest, IsReadWhereNothingCanBeWritten) {
  const std::string left = folder_ / "ostatak.db";
  {
    Database database(path_);
    database.Execute(kInsertXX);
    for (const char* const ending : {"", "-wal"}) {
      fs::copy_file(path_ + ending, left + ending);
      fs::permissions(left + ending, fs::perms(0666));
    }
  }
  fs::permissions(path_, fs::perms(0666));
  const std::string secret = folder_ / "tajno.db";
  fs::copy_file(path_, secret);
  fs::permissions(secret, fs::perms(0000));
  const auto can_be_read = [](const std::string& path) {
    const std::string told = ErrorOf([&] {
      Database database(path, Database::Access::kReadOnly);
      if (Number(database, kFoundXX) != 1) throw Error("not found");
    });
    std::fputs(told.c_str(), stderr);
    return told.empty();
  };
  const auto as_ordinary_user = [&] {
    constexpr uid_t kNobody = 65534;
    const bool ordinary = ::geteuid() != 0 || ::setuid(kNobody) == 0;
    std::exit(ordinary && can_be_read(path_) && can_be_read(left) && !can_be_read(secret) ? 0 : 1);
  };
  const auto on_a_full_disk = [&] {
    const FullDisk disk(0);
    std::exit(can_be_read(path_) && can_be_read(left) ? 0 : 1);
  };
  fs::permissions(folder_.path(), fs::perms(0555));
  EXPECT_EXIT(as_ordinary_user(), testing::ExitedWithCode(0),
              "^/.*tajno.db: this user may not read the file");
  fs::permissions(folder_.path(), fs::perms(0755));
  EXPECT_EXIT(on_a_full_disk(), testing::ExitedWithCode(0), "");
}

TEST_F(DatabaseFileTest, SaysWhyItCannotWrite) {
  const auto message = [](Database& database) {
    return ErrorOf<DatabaseError>([&] {
      WriteTransaction transaction(database);
      database.Execute("CREATE TABLE pun (tekst TEXT)");
      const std::string text(100'000, 'x');
      for (int i = 0; i < 100; ++i) database.Execute("INSERT INTO pun VALUES (:t)", {text});
      transaction.Commit();
    });
  };
  Database read_only(path_, Database::Access::kReadOnly);
  EXPECT_EQ(message(read_only), path_ + ": cannot be written: the file or its folder is read-only");
  Database database(path_);
  database.Execute("PRAGMA max_page_count = 500");
  EXPECT_EQ(message(database), path_ + ": the disk is full");
  EXPECT_THAT(database.TableColumns("pun"), testing::IsEmpty());
  database.Execute(kInsertXX);  // and goes on
  const auto where_files_may_not_grow = [&] {
    const FullDisk disk(200'000);
    const std::string copy = folder_ / "kopija.db";
    const std::string told = message(database);
    const std::string told_of_copy = ErrorOf<DatabaseError>([&] { database.BackUp(copy); });
    std::fputs((told + told_of_copy).c_str(), stderr);
    const bool names_the_copy = told_of_copy.starts_with(copy + ": the copy cannot be written: the ");
    std::exit(names_the_copy && told == path_ + ": the disk is full" ? 0 : 1);
  };
  EXPECT_EXIT(where_files_may_not_grow(), testing::ExitedWithCode(0), "");
}

// Nobody takes a database that cannot be written for one that refuses: a document would count as sent
// already.
TEST_P(DatabaseTest, IsUnavailableWhereAnotherProgramKeepsItLocked) {
  const RecordSet document = OneRecord("ads", "VelorFormsID:integer", {std::int64_t{1}});
  const TAstaParamList request = RequestOf("ERacunVezaSaMojERacunProvjera", {&document});
  const auto failure = [&](CompanyServer& server) {
    return ErrorOf<DatabaseUnavailable>([&] { EXPECT_EQ(server.WriteDataService(request), 1); });
  };
  Database other(path_);
  CompanyServer server{Database(path_)};
  server.database().WaitAtMost(10);
  {
    const WriteTransaction lock(other);
    EXPECT_EQ(failure(server),
              path_ + ": another program keeps the database locked; try again when it has finished");
  }
  EXPECT_EQ(failure(server), "");
  server.SetUnwritable("tvrtka.db: the disk is full");
  EXPECT_EQ(failure(server), "tvrtka.db: the disk is full");
}

TEST_P(DatabaseTest, CountsQuantitiesAsTheProgramDoes) {
  Database database(path_);
  const std::string sql =
      "SELECT " + CountedQuantitySql(database.dialect(), "CAST(:q AS DOUBLE PRECISION)") + " AS n";
  for (const double quantity : {0.1270005, 0.5050005, 0.5120005, 2.0100005, 0.0000005, 0.0000015, 1.0 / 3,
                                123456.7890125, 999999999.9999995, 0.0}) {
    for (const double signed_one : {quantity, -quantity}) {
      EXPECT_EQ(Number(database, sql, {signed_one}), CountedQuantity(signed_one)) << signed_one;
    }
  }
}

// Also where the quotient is half a cent, which no double of it is.
TEST_P(DatabaseTest, ConvertsAmountsAsTheProgramDoes) {
  Database database(path_);
  const std::string day_sql = IsPostgresql() ? "CAST(:datum AS DATE)" : ":datum";
  const std::string sql =
      "SELECT " + WholeInBooks("d.ukupno") + " FROM (SELECT " + day_sql +
      " AS datum, CAST(:ukupno AS NUMERIC(19,4)) AS ukupno, CAST(:tecaj AS DOUBLE PRECISION) "
      "AS tecaj, (SELECT id FROM valuta WHERE oznaka = 'USD') AS valuta_id) d";
  for (const Date day : {*MakeDate(2022, 12, 31), *MakeDate(2026, 3, 2)}) {
    for (const double rate : {1.6, 0.8, 1.25, 7.064035, 6.4, 1500.0, 0.00032}) {
      for (std::int64_t cents = -1500; cents <= 1500; cents += 4) {
        const Currency amount = Currency::FromScaled(cents * 100);
        ASSERT_EQ(Number(database, sql, {FormatIsoDate(day), amount, rate}),
                  InCurrencyOfDate(amount, day, rate).scaled())
            << amount.ToString() << " at " << rate << " on " << FormatIsoDate(day);
      }
    }
  }
  for (const std::int64_t whole :
       {0L, 376L, 377L, 75'345L, 37'672L, 37'673L, 45'207'000L, 123'456'789'012'345L}) {
    for (const std::int64_t kunas : {whole, -whole}) {
      EXPECT_EQ(Number(database, "SELECT " + WholeEurosOfKunas(":kune"), {kunas}),
                EurosOfKunas(Currency::FromScaled(kunas)).scaled())
          << kunas;
    }
  }
}

TEST_P(DatabaseTest, ReadsInsideATransactionThatWrites) {
  Database database(path_);
  WriteTransaction transaction(database);
  database.Execute(kInsertXX);
  { const ReadTransaction snapshot(database); }
  transaction.Commit();
  EXPECT_EQ(Number(database, kFoundXX), 1);
}

// The company alone is named, and all else by the surroundings.
TEST_P(DatabaseTest, OpensAnAddressWithoutParametersOfItsOwn) {
  if (!IsPostgresql()) return;
  const std::size_t host = path_.find("host=") + 5;
  const std::size_t company = path_.find("company=");
  ASSERT_EQ(::setenv("PGHOST", path_.substr(host, company - 1 - host).c_str(), 1), 0);
  EXPECT_EQ(Database(path_.substr(0, host - 5) + path_.substr(company)).TableNames().empty(), false);
  ::unsetenv("PGHOST");
}

// What was begun is lost with the connection; the next transaction has a new one.
TEST_P(DatabaseTest, GoesOnAfterTheServerHasEndedItsConnection) {
  if (!IsPostgresql()) return;
  Database database(path_);
  const auto end_connection = [&] {
    const std::string process = std::to_string(Number(database, "SELECT pg_backend_pid()"));
    PostgresqlServer::Run(path_, "SELECT pg_terminate_backend(" + process + ", 5000)");
  };
  const auto insert = [&] { database.Execute(kInsertXX); };
  end_connection();
  {
    WriteTransaction transaction(database);
    insert();
    end_connection();
    EXPECT_THROW(insert(), DatabaseUnavailable);
    EXPECT_THROW(transaction.Commit(), DatabaseError);
  }
  WriteTransaction transaction(database);
  insert();
  transaction.Commit();
}

// What a statement was given, or was answered, is not met again by the next one of the same text.
TEST_P(DatabaseTest, BeginsEachStatementAnew) {
  Database database(path_);
  database.Execute("CREATE TABLE par_x (id INTEGER PRIMARY KEY, a VARCHAR(9), b INTEGER CHECK (b < 5))");
  constexpr FieldKind kKinds[] = {FieldKind::kInteger, FieldKind::kText, FieldKind::kInteger};
  const auto insert = [&](std::int64_t id, const Value& a, const Value& b) {
    Statement statement = database.Prepare("INSERT INTO par_x VALUES (:id, :a, :b)", kKinds);
    statement.Bind(0, id);
    if (a.index() != 0) statement.Bind(1, a);
    if (b.index() != 0) statement.Bind(2, b);
    statement.Execute();
  };
  const auto rows = [&](std::string_view columns) {
    return TextOf(database.Query("r", ParseColumns(columns),
                                 "SELECT a, b FROM par_x WHERE id < :id ORDER BY id", {std::int64_t{100}}));
  };
  insert(1, std::string("x"), std::int64_t{4});
  insert(2, {}, {});
  EXPECT_THROW(insert(3, std::string("y"), std::int64_t{9}), DatabaseError);
  EXPECT_THROW(insert(2, {}, {}), DatabaseError);
  insert(4, {}, std::int64_t{1});
  EXPECT_EQ(rows("a:text,b:integer"), "x|4;~|~;~|1");
  EXPECT_EQ(rows("a:text,b:float"), "x|4;~|~;~|1");
  EXPECT_THROW(rows("a:text"), Error);
  EXPECT_EQ(rows("a:text,b:integer"), "x|4;~|~;~|1");
  {
    // One that is open does not serve another one of the same text.
    Statement first = database.Prepare("INSERT INTO par_x VALUES (:id, :a, :b)", kKinds);
    first.Bind(0, std::int64_t{5});
    insert(6, std::string("z"), {});
    first.Execute();
  }
  EXPECT_EQ(rows("a:text,b:integer"), "x|4;~|~;~|1;~|~;z|~");
  database.Execute("DROP TABLE par_x");
  database.Execute("CREATE TABLE par_x (id INTEGER PRIMARY KEY, b INTEGER, a VARCHAR(9))");
  database.Execute("INSERT INTO par_x VALUES (1, 2, 'n')");
  EXPECT_EQ(rows("a:text,b:integer"), "n|2");
}

// A file whose number a database may have passed already would never run there.
TEST(Migrations, HaveEachNumberOnce) {
  std::vector<int> numbers;
  std::vector<int> expected;
  for (const SchemaFile& file : SchemaFiles()) {
    numbers.push_back(std::stoi(std::string(file.name.substr(file.name.find('/') + 1))));
    expected.push_back(static_cast<int>(numbers.size()));
  }
  std::sort(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers, expected);
}

TEST_P(DatabaseTest, BringsAnOlderSchemaToTheNewest) {
  DatabaseConnection connection = OpenPlainly(path_);
  const int version = RequireKnownVersion(connection);
  std::vector<SchemaFile> files = SchemaFiles();
  files.push_back(
      {"reference/099_faulty.sql", "INSERT INTO novo VALUES (1, 'a;b'); -- ;\nINSERT INTO nema VALUES (1)"});
  files.push_back(
      {"schema/098_new.sql", "CREATE TABLE novo (id KEY, a TEXT);\nCREATE INDEX novo_a ON novo (fold(a));"});
  EXPECT_THROW(MigrateSchema(connection, files), DatabaseError);
  EXPECT_EQ(RequireKnownVersion(connection), version);
  EXPECT_THAT(Database(path_).TableColumns("novo"), testing::IsEmpty());

  files[files.size() - 2].text = "INSERT INTO novo VALUES (1, 'a;b'); -- ;\n";
  MigrateSchema(connection, files);
  MigrateSchema(connection, files);
  EXPECT_EQ(RequireKnownVersion(connection, files), 99);
  EXPECT_EQ(ErrorOf([&] { const Database old_program(path_); }),
            path_ + ": was written by a newer program (version 99, this program knows up to " +
                std::to_string(version) + ")");
}

MOX_ON_EVERY_ENGINE(DatabaseTest);
MOX_ON_EVERY_ENGINE(KindsTest);

}  // namespace
}  // namespace mox
