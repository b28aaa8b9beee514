#include "appserver/write_journal.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <map>
#include <random>
#include <span>

#include "appserver/company_server.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/how_many.h"
#include "tests/fakes/own_process.h"
#include "tests/fakes/small_document.h"

namespace mox {
namespace {

using WriteJournalTest = ScratchDatabase;
MOX_ON_EVERY_ENGINE(WriteJournalTest);

// The number that the document of a key was given.
std::int64_t Send(const std::string& path, std::int64_t key) {
  CompanyServer server{Database(path)};
  server.SetRequester({.user = "ana", .code = "ANA"});
  if (server.WriteDataService(SmallDocument("gotovinski-racun", "31.12.2024", std::to_string(key), 1),
                              std::to_string(key)) == 0)
    throw Error(server.WriteRefusal());
  const RecordSet& stored = *server.LastWrite().stored;
  return stored.RowAt(0).AsInteger(*stored.FindFieldIndex("broj"));
}

struct Told {
  std::int64_t key;
  std::int64_t number;
};

// Each key has one document, one row of the journal, and the number that was answered; none is missing.
void ExpectEachOnce(const std::string& path, std::span<const Told> told) {
  Database database(path);
  const RecordSet documents = database.Query(
      "d", ParseColumns("opis,broj:integer,n:integer"),
      "SELECT d.opis, d.broj, (SELECT COUNT(*) FROM dnevnik_upisa WHERE kljuc = d.opis AND dok_id = d.id) "
      "FROM dok d ORDER BY d.broj");
  std::map<std::int64_t, std::int64_t> numbers;
  std::int64_t number = 0;
  for (const RecordRow& row : documents.Rows()) {
    EXPECT_EQ(row.AsInteger(1), ++number);
    EXPECT_EQ(row.AsInteger(2), 1);
    EXPECT_TRUE(numbers.emplace(std::stoll(row.AsText(0)), row.AsInteger(1)).second)
        << "twice: " << row.AsText(0);
  }
  for (const Told& one : told) EXPECT_EQ(numbers[one.key], one.number) << one.key;
}

TEST_P(WriteJournalTest, StoresAKeyOnceHoweverOftenItIsSentAndKilled) {
  std::mt19937 random(5);
  std::vector<Told> told;
  std::int64_t next = 1;
  for (std::int64_t crash = HowMany("MOX_CRASHES", 8); crash > 0; --crash) {
    KilledProgram<Told> program([&](const auto& tell) {
      for (std::int64_t key = next;; ++key) tell({key, Send(path_, key)});
    });
    told.push_back(program.Next().value());
    program.KillAfter(random() % 60'000);
    while (const auto one = program.Next()) told.push_back(*one);
    // What was answered is sent again, and what was under way when it was killed.
    for (std::int64_t key = next; key <= told.back().key; ++key) {
      EXPECT_EQ(Send(path_, key), told[static_cast<std::size_t>(key - 1)].number);
    }
    next = told.back().key + 1;
    told.push_back({next, Send(path_, next)});
    ++next;
  }
  ExpectEachOnce(path_, told);
}

// While somebody of the same account is about to make links, which this document has none of.
TEST_P(WriteJournalTest, StoresBesideAnotherDocumentOfTheUser) {
  Database other(path_);
  const WriteTransaction under_way(other, Writing::kBesideOthers);
  if (!other.WritesBesideOthers()) return;  // one writes at a time
  other.Claim({"veze/ANA"});
  EXPECT_EQ(Send(path_, 1), 1);
}

TEST_P(WriteJournalTest, StoresAKeyOnceThatManySendAtTheSameTime) {
  constexpr std::int64_t kKeys = 25;
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  const auto send_all = [&] {
    for (std::int64_t key = 1; key <= kKeys; ++key) {
      const Told one{key, Send(path_, key)};
      if (::write(ends[1], &one, sizeof one) != sizeof one) throw Error("the pipe is closed");
    }
  };
  const pid_t children[] = {Fork(send_all), Fork(send_all), Fork(send_all), Fork(send_all)};
  for (const pid_t child : children) EXPECT_EQ(StatusOf(child), 0);
  ::close(ends[1]);
  std::vector<Told> told;
  for (Told one{}; ::read(ends[0], &one, sizeof one) == sizeof one;) told.push_back(one);
  ::close(ends[0]);
  EXPECT_EQ(told.size(), 4 * kKeys);
  ExpectEachOnce(path_, told);
}

}  // namespace
}  // namespace mox
