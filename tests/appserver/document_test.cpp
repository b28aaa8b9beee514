#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "appserver/company_server.h"
#include "appserver/migrations.h"
#include "appserver/sql_text.h"
#include "mox/documents/storno.h"
#include "mox/foundation/text.h"
#include "mox/host/memory_settings.h"
#include "mox/server/transactions.h"
#include "tests/appserver/scratch_database.h"

namespace mox {
namespace {

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
};

// Each with a connection of its own, as two programs have it, all at the same moment.
TEST_F(DocumentTest, IsCancelledOnceByManyProgramsAtOnce) {
  CompanyServer server{Database(path_)};
  const RecordSet header = MakeStornoHeader(StoreDocument(server));
  const RecordSet* const sets[] = {&header};
  const TAstaParamList request = WriteRequest("DokumentStorno", sets);
  constexpr int kPrograms = 4;
  std::atomic<int> ready = 0;
  std::atomic<int> committed = 0;
  std::vector<std::thread> programs;
  for (int i = 0; i < kPrograms; ++i) {
    programs.emplace_back([&] {
      CompanyServer program{Database(path_)};
      for (++ready; ready < kPrograms;) std::this_thread::yield();
      committed += program.WriteDataService(request) != 0 ? 1 : 0;
    });
  }
  for (std::thread& program : programs) program.join();
  EXPECT_EQ(committed, 1);
  const RecordSet count = server.database().Query("count", ParseColumns("stornos:integer,sum:currency"),
                                                  "SELECT COUNT(stornira_id), SUM(ukupno) FROM dok");
  EXPECT_EQ(count.AsInteger(0), 1);
  EXPECT_TRUE(count.AsCurrency(1).IsZero());
  EXPECT_THROW(server.database().Execute("UPDATE dok SET stornira_id = 1 WHERE id = 1"), DatabaseError);
}

// Links that wait under names cut to 15 characters, and links that were made, get the codes of their kinds.
TEST_F(DocumentTest, LinksOfOlderDatabasesAreCarriedOver) {
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
    EXPECT_EQ(waiting.AsText(1), waits_for == nullptr ? "meduskl-ulaz" : waits_for->tip) << kind.name;
    EXPECT_EQ(made.AsText(1), kind.tip) << kind.name;
    waiting.Next();
    made.Next();
  }
}

}  // namespace
}  // namespace mox
