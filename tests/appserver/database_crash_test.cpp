
#include <random>

#include "tests/appserver/scratch_database.h"
#include "tests/fakes/how_many.h"
#include "tests/fakes/own_process.h"

namespace mox {
namespace {

using DatabaseCrashTest = ScratchDatabase;

// Writes transactions of five rows without end, and tells which it has committed.
void WriteForever(const std::string& path, const auto& tell) {
  Database database(path);
  for (std::int64_t n = Number(database, "SELECT COALESCE(MAX(t), 0) FROM redak") + 1;; ++n) {
    WriteTransaction transaction(database);
    for (std::int64_t row = 0; row < 5; ++row) {
      const std::string text(static_cast<std::size_t>(n * 997 % 5000), 'x');
      database.Execute("INSERT INTO redak (t, r, tekst) VALUES (:t, :r, :x)", {n, row, text});
    }
    transaction.Commit();
    tell(n);
  }
}

TEST_P(DatabaseCrashTest, KeepsTransactionsWholeWhenItsProcessIsKilled) {
  Database(path_).Execute("CREATE TABLE redak (t BIGINT, r BIGINT, tekst TEXT, UNIQUE (t, r))");
  std::mt19937 random(3);
  std::int64_t committed = 0;
  for (std::int64_t crash = HowMany("MOX_CRASHES", 12); crash > 0; --crash) {
    KilledProgram<std::int64_t> program([&](const auto& tell) { WriteForever(path_, tell); });
    // Every other time it is killed while it may still be opening the file.
    if (crash % 2 == 0) committed = program.Next().value();
    program.KillAfter(random() % 60'000);
    while (const auto n = program.Next()) committed = *n;

    Database database(path_);
    database.Check();
    EXPECT_EQ(
        Number(database, "SELECT COUNT(*) FROM (SELECT t FROM redak GROUP BY t HAVING COUNT(*) <> 5) AS x"),
        0);
    const std::int64_t last = Number(database, "SELECT COALESCE(MAX(t), 0) FROM redak");
    EXPECT_EQ(Number(database, "SELECT COUNT(*) FROM redak"), 5 * last);
    EXPECT_GE(last, committed);
    EXPECT_LE(last, committed + 1);  // committed, but killed before it could tell
    committed = last;
  }
  EXPECT_GT(committed, 0);
}

TEST_P(DatabaseCrashTest, LosesNoWriteOfProcessesAtTheSameTime) {
  Database(path_).Execute("CREATE TABLE brojac AS SELECT 0 AS n");
  constexpr int kTimes = 90;
  const auto count = [&] {
    for (int i = 0; i < kTimes; i += 15) {
      Database database(path_);  // opening and closing meets the other's writing too
      for (int k = 0; k < 15; ++k) {
        WriteTransaction transaction(database);
        const std::int64_t n = Number(database, "SELECT n FROM brojac");
        database.Execute("UPDATE brojac SET n = :n", {n + 1});
        transaction.Commit();
      }
    }
  };
  const pid_t children[] = {Fork(count), Fork(count), Fork(count)};
  for (const pid_t child : children) EXPECT_EQ(StatusOf(child), 0);
  Database database(path_);
  EXPECT_EQ(Number(database, "SELECT n FROM brojac"), 3 * kTimes);
}

MOX_ON_EVERY_ENGINE(DatabaseCrashTest);

}  // namespace
}  // namespace mox
