#include <gtest/gtest.h>

#include "appserver/company_server.h"
#include "appserver/connection.h"
#include "appserver/database_check.h"
#include "appserver/migrations.h"
#include "appserver/sql_text.h"
#include "mox/documents/storno.h"
#include "mox/foundation/text.h"
#include "mox/host/memory_settings.h"
#include "mox/server/transactions.h"
#include "tests/appserver/document_fixture.h"

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
