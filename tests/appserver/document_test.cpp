#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "appserver/company_server.h"
#include "appserver/connection.h"
#include "appserver/database_check.h"
#include "appserver/migrations.h"
#include "appserver/sql_text.h"
#include "mox/documents/storno.h"
#include "mox/foundation/text.h"
#include "mox/host/memory_settings.h"
#include "mox/server/transactions.h"
#include "tests/appserver/scratch_database.h"

namespace mox {
namespace {

class AnsweringDialogs : public AppDialogs {
 public:
  explicit AnsweringDialogs(int answer) : answer_(answer) {}
  int ShowVelorDialog(TVCustomDialogType /*kind*/, std::string_view /*caption*/, std::string_view /*heading*/,
                      std::string_view /*message*/) override {
    ++asked;
    return answer_;
  }
  void ShowMessage(std::string_view /*text*/) override {}

  int asked = 0;

 private:
  int answer_;
};

class DocumentTest : public ScratchDatabase {
 protected:
  // The id of a pro-forma invoice of one line.
  std::int64_t StoreDocument(CompanyServer& server) {
    MemorySettings settings;
    const ScopedApp app({.ini = &settings, .comunication = &server});
    Document document("predracun");
    document.SetHeader("datum", *MakeDate(2024, 3, 1));
    RecordSet& lines = *document.Goods();
    lines.Append();
    for (const auto& [name, value] : {std::pair("kolicina", 1), {"pc", 10}, {"tbr_stp", 25}}) {
      lines.FieldByName(name).SetFloat(value);
    }
    lines.Post();
    EXPECT_TRUE(document.Store());
    return server.LastWrite().stored.value().AsInteger(0);
  }

  // Of 12.50, which partner 1 pays later.
  static Document Invoice(const Value& due = {}, std::int64_t partner = 1) {
    Document document("racun-usluga");
    document.SetHeader("datum", *MakeDate(2024, 3, 1));
    document.SetHeader("par_id", partner);
    document.SetHeader("datum_dospijeca", due);
    RecordSet& lines = *document.Services();
    lines.Append();
    for (const auto& [name, value] : {std::pair("kolicina", 1), {"pc", 10}, {"tbr_stp", 25}}) {
      lines.FieldByName(name).SetFloat(value);
    }
    lines.Post();
    return document;
  }
  static bool StoreInvoice(CompanyServer& server, const Value& due = {}, std::int64_t partner = 1) {
    MemorySettings settings;
    const ScopedApp app({.ini = &settings, .comunication = &server});
    return Invoice(due, partner).Store();
  }

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

TEST_P(DocumentTest, IsCancelledOnceByManyProgramsAtOnce) {
  CompanyServer server{Database(path_)};
  const RecordSet header = MakeStornoHeader(StoreDocument(server));
  const RecordSet* const sets[] = {&header};
  const TAstaParamList request = WriteRequest("DokumentStorno", sets);
  EXPECT_EQ(CommittedByMany([&](CompanyServer& program) { return program.WriteDataService(request) != 0; }),
            1);
  const RecordSet count = server.database().Query("count", ParseColumns("stornos:integer,sum:currency"),
                                                  "SELECT COUNT(stornira_id), SUM(ukupno) FROM dok");
  EXPECT_EQ(count.AsInteger(0), 1);
  EXPECT_TRUE(count.AsCurrency(1).IsZero());
  EXPECT_THROW(server.database().Execute("UPDATE dok SET stornira_id = 1 WHERE id = 1"), DatabaseError);
}

// Two programs see the same balance, and the limit has room for one invoice of 12.50.
TEST_P(DocumentTest, ACreditLimitIsUsedUpOnce) {
  Database(path_).Execute("UPDATE par SET limit_duga = 20 WHERE id = 1");
  EXPECT_EQ(CommittedByMany([](CompanyServer& program) { return StoreInvoice(program); }), 1);
}

// Also beside documents of other kinds, and where storing is refused after a number was given.
TEST_P(DocumentTest, NumbersHaveNeitherGapsNorDoublesHoweverManyStore) {
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

// Who agreed did so on figures that another program has changed since.
TEST_P(DocumentTest, ALeaveHoldsForTheBalanceThatItWasGivenFor) {
  Database(path_).Execute("UPDATE par SET limit_duga = 20, fakturiranje_limit_duga = TRUE WHERE id = 1");
  CompanyServer server{Database(path_)};
  CompanyServer other{Database(path_)};
  MemorySettings settings;
  AnsweringDialogs yes(kDialogYes);
  const ScopedApp app({.ini = &settings, .comunication = &server, .dialogs = &yes});
  ASSERT_TRUE(StoreInvoice(server));
  Document foreign = Invoice();
  foreign.SetHeader("valuta_id", std::int64_t{1});
  foreign.SetHeader("tecaj", 10.0);
  EXPECT_TRUE(foreign.ConfirmCredit());
  EXPECT_EQ(yes.asked, 0) << "12.50 of it are 1.25 euros";
  Document second = Invoice();
  EXPECT_FALSE(second.Store());
  EXPECT_TRUE(second.ConfirmCredit());
  Database(path_).Execute(
      "INSERT INTO otvorene_stavke (par_id, br_dok, duguje, datum_dos) VALUES (1, 'R', 0.01, '2030-01-01')");
  EXPECT_FALSE(second.Store());
  EXPECT_TRUE(second.ConfirmCredit());
  EXPECT_TRUE(second.Store());
  EXPECT_EQ(yes.asked, 2);
}

// Invoices from before there were open items get those that storing opens now.
TEST_P(DocumentTest, InvoicesOfOlderDatabasesGetTheirItems) {
  CompanyServer server{Database(path_)};
  Database& database = server.database();
  database.Execute("UPDATE par SET odgoda = 30.9 WHERE id = 1");
  for (const Value& due : {Value(), Value(*MakeDate(2024, 5, 1)), Value()})
    ASSERT_TRUE(StoreInvoice(server, due));
  MemorySettings settings;
  {
    const ScopedApp app({.ini = &settings, .comunication = &server});
    ASSERT_TRUE(StoreStorno(1));
  }
  StoreDocument(server);
  const auto items = [&] {
    return database
        .Query("items", database.TableColumns("otvorene_stavke"), "SELECT * FROM otvorene_stavke ORDER BY id")
        .SaveToString();
  };
  const auto paid = [&] {
    return database.Query("dok", ParseColumns("odmah"), "SELECT placeno_odmah FROM dok ORDER BY id")
        .SaveToString();
  };
  const std::string items_before = items();
  const std::string paid_before = paid();
  database.Execute("DELETE FROM otvorene_stavke WHERE id <> 2");
  database.Execute("UPDATE otvorene_stavke SET id = 100");
  GiveNextKeys();
  database.Execute("UPDATE dok SET placeno_odmah = NULL, datum_dospijeca = NULL WHERE id <> 2");
  DatabaseConnection connection(path_, [&](soci::session& session) {
    const DatabaseLocation location(path_);
    DialectOf(location.kind()).Open(session, location, Database::Access::kReadWrite);
  });
  std::vector<SchemaFile> files = SchemaFiles();
  for (const SchemaFile& file : SchemaFiles()) {
    const std::size_t update = file.text.find("UPDATE dok SET placeno_odmah");
    if (update != std::string_view::npos)
      files.push_back({"reference/099_again.sql", file.text.substr(update)});
  }
  MigrateSchema(connection, files);
  EXPECT_EQ(paid(), paid_before);
  database.Execute("UPDATE otvorene_stavke SET id = id + 1000");
  database.Execute(
      "UPDATE otvorene_stavke SET id = CASE id - 1000 WHEN 101 THEN 1 WHEN 100 THEN 2 WHEN 102 THEN 3 ELSE 4 "
      "END");
  EXPECT_EQ(items(), items_before);
}

// Links that wait under names cut to 15 characters, and links that were made, get the codes of their kinds.
TEST_P(DocumentTest, LinksOfOlderDatabasesAreCarriedOver) {
  CompanyServer server{Database(path_)};
  Database& database = server.database();
  const std::int64_t id = StoreDocument(server);
  for (const DocumentKind& kind : DocumentKinds()) {
    const std::string cut(CutToCharacters(kind.name, 15));
    database.Execute(
        "INSERT INTO dok_veze_kasnije (parent_table, parent_column, parent_doc_id, child_tip, user_id) "
        "VALUES (:name, 'id', 1, :tip, 'ANA')",
        {std::string(kind.name), cut});
    database.Execute(
        "INSERT INTO dok_veze (parent_table, parent_column, parent_doc_id, child_tip, child_doc_id) "
        "VALUES (:name, 'id', 1, :name, :id)",
        {std::string(kind.name), id});
  }
  for (const SchemaFile& file : SchemaFiles()) {
    if (file.name != "schema/012_documents.sql") continue;
    for (const std::string_view statement : SplitStatements(file.text)) {
      const std::size_t update = statement.find("UPDATE dok_veze");
      if (update != std::string_view::npos) database.Execute(statement.substr(update));
    }
  }
  const auto tips = [&](const std::string& table) {
    return database.Query("tips", ParseColumns("parent_table,child_tip"),
                          "SELECT parent_table, child_tip FROM " + table + " ORDER BY id");
  };
  RecordSet waiting = tips("dok_veze_kasnije");
  RecordSet made = tips("dok_veze");
  for (const DocumentKind& kind : DocumentKinds()) {
    const DocumentKind* const waits_for = FindDocumentTip(CutToCharacters(kind.name, 15));
    // What more than one kind could have been waits for the first of them.
    const std::string_view of_many = kind.name.starts_with("gotovinski") ? "got-racun" : "meduskl-ulaz";
    EXPECT_EQ(waiting.AsText(1), waits_for == nullptr ? of_many : waits_for->tip) << kind.name;
    EXPECT_EQ(made.AsText(1), kind.tip) << kind.name;
    waiting.Next();
    made.Next();
  }
}

MOX_ON_EVERY_ENGINE(DocumentTest);

}  // namespace
}  // namespace mox
