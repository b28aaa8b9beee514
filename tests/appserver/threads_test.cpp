#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "appserver/database_check.h"
#include "mox/documents/storno.h"
#include "tests/appserver/document_fixture.h"

// Programs at the same time, each a thread, which run under the thread sanitizer too.

namespace mox {
namespace {

class Threads : public DocumentTest {
 protected:
  // How many of them commit, each with a connection of its own, as programs have it, all at the same moment.
  int CommittedByMany(const auto& commit, int count = 4) const {
    std::atomic<int> ready = 0;
    std::atomic<int> committed = 0;
    std::vector<std::thread> programs;
    for (int i = 0; i < count; ++i) {
      programs.emplace_back([&] {
        CompanyServer program{Database(path_)};
        for (++ready; ready < count;) std::this_thread::yield();
        committed += commit(program) ? 1 : 0;
      });
    }
    for (std::thread& program : programs) program.join();
    return committed;
  }
};

TEST_P(Threads, IsCancelledOnceByManyProgramsAtOnce) {
  CompanyServer server{Database(path_)};
  const RecordSet header = MakeStornoHeader(StoreDocument(server));
  const TAstaParamList request = RequestOf("DokumentStorno", {&header});
  EXPECT_EQ(CommittedByMany([&](CompanyServer& program) { return program.WriteDataService(request) != 0; }),
            1);
  const RecordSet count = server.database().Query("count", ParseColumns("stornos:integer,sum:currency"),
                                                  "SELECT COUNT(stornira_id), SUM(ukupno) FROM dok");
  EXPECT_EQ(count.AsInteger(0), 1);
  EXPECT_TRUE(count.AsCurrency(1).IsZero());
  EXPECT_THROW(server.database().Execute("UPDATE dok SET stornira_id = 1 WHERE id = 1"), DatabaseError);
}

// Two programs see the same balance, and the limit has room for one invoice of 12.50.
TEST_P(Threads, ACreditLimitIsUsedUpOnce) {
  Database(path_).Execute("UPDATE par SET limit_duga = 20 WHERE id = 1");
  EXPECT_EQ(CommittedByMany([](CompanyServer& program) { return StoreInvoice(program); }), 1);
}

// Also beside documents of other kinds, and where storing is refused after a number was given.
TEST_P(Threads, NumbersHaveNeitherGapsNorDoublesHoweverManyStore) {
  Database(path_).Execute("UPDATE par SET limit_duga = 1 WHERE id = 2");
  const int most = IsPostgresql() ? 64 : 8;
  const auto store = [this](CompanyServer& program) {
    StoreDocument(program);
    EXPECT_FALSE(StoreInvoice(program, {}, 2)) << "beyond the limit";
    return StoreInvoice(program);
  };
  for (const int programs : {8, most}) EXPECT_EQ(CommittedByMany(store, programs), programs);
  Database database(path_);
  RecordSet kinds =
      database.Query("vrste", ParseColumns("vrsta,dokumenata:integer,zadnji:integer"),
                     "SELECT vrsta, COUNT(*), MAX(broj) FROM dok GROUP BY vrsta ORDER BY vrsta");
  std::string found;
  for (const RecordRow& kind : kinds.Rows())
    found += kind.AsText(0) + kind.AsText(1) + '/' + kind.AsText(2) + ' ';
  const std::string all = std::to_string(8 + most) + '/' + std::to_string(8 + most) + ' ';
  EXPECT_EQ(found, "predracun" + all + "racun-usluga" + all);
  EXPECT_TRUE(FindFaults(database).empty());
}

// Several programs add partners at once: no code is given twice, none is left out, no number comes twice.
TEST_P(Threads, NumbersPartnersOfSeveralProgramsOn) {
  const auto add = [this](int program) {
    CompanyServer own{Database(path_)};
    for (int i = 0; i < 20; ++i) {
      const RecordSet partner =
          OneRecord("partneri", "naziv", {std::to_string(program) + "/" + std::to_string(i)});
      own.WriteDataService(RequestOf("KatalogUpis", {&partner}));
      EXPECT_TRUE(own.LastWrite().committed);
    }
  };
  std::thread first(add, 1);
  std::thread second(add, 2);
  first.join();
  second.join();
  const RecordSet rows = Database(path_).Query("par", ParseColumns("sifra"),
                                               "SELECT sifra FROM par ORDER BY CAST(sifra AS INTEGER)");
  EXPECT_EQ(rows.RecordCount(), 42U);
  int code = 0;
  for (const RecordRow& row : rows.Rows()) EXPECT_EQ(row.AsText(0), std::to_string(++code));
}

MOX_ON_EVERY_ENGINE(Threads);

}  // namespace
}  // namespace mox
