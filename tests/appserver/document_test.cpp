#include <gtest/gtest.h>

#include "appserver/company_server.h"
#include "appserver/database_check.h"
#include "appserver/migrations.h"
#include "appserver/sql_text.h"
#include "mox/documents/storno.h"
#include "mox/foundation/text.h"
#include "mox/host/memory_settings.h"
#include "mox/server/transactions.h"
#include "tests/appserver/document_fixture.h"
#include "tests/fakes/recording_host.h"

namespace mox {
namespace {

// Who agreed did so on figures that another program has changed since.
TEST_P(DocumentTest, ALeaveHoldsForTheBalanceThatItWasGivenFor) {
  Database(path_).Execute("UPDATE par SET limit_duga = 20, fakturiranje_limit_duga = TRUE WHERE id = 1");
  CompanyServer server{Database(path_)};
  CompanyServer other{Database(path_)};
  RecordingHost host;  // that says yes
  const ScopedApp app({.ini = &host.settings, .comunication = &server, .dialogs = &host});
  ASSERT_TRUE(StoreInvoice(server));
  Document foreign = Invoice();
  foreign.SetHeader("valuta_id", std::int64_t{1});
  foreign.SetHeader("tecaj", 10.0);
  EXPECT_TRUE(foreign.ConfirmCredit());
  EXPECT_EQ(host.log.size(), 0U) << "12.50 of it are 1.25 euros";
  Document second = Invoice();
  EXPECT_FALSE(second.Store());
  EXPECT_TRUE(second.ConfirmCredit());
  Database(path_).Execute(
      "INSERT INTO otvorene_stavke (par_id, br_dok, duguje, datum_dos) VALUES (1, 'R', 0.01, '2030-01-01')");
  EXPECT_FALSE(second.Store());
  EXPECT_TRUE(second.ConfirmCredit());
  EXPECT_TRUE(second.Store());
  EXPECT_EQ(host.log.size(), 2U);
}

// Invoices from before there were open items get those that storing opens now, in the currency of the books
// too; what else refers to one of them is no debt in its currency.
TEST_P(DocumentTest, InvoicesOfOlderDatabasesGetTheirItems) {
  CompanyServer server{Database(path_)};
  Database& database = server.database();
  database.Execute("UPDATE par SET odgoda = 30.9 WHERE id = 1");
  for (const Value& due : {Value(), Value(*MakeDate(2024, 5, 1)), Value()})
    ASSERT_TRUE(StoreInvoice(server, due));
  MemorySettings settings;
  {
    const ScopedApp app({.ini = &settings, .comunication = &server});
    struct Foreign {
      const char* currency;
      double rate;
      Date day;
    };
    // Both come to a cent less than the total at the rate.
    for (const Foreign& foreign :
         {Foreign{"USD", 3, *MakeDate(2024, 3, 1)}, {"EUR", 7.5412, *MakeDate(2022, 12, 30)}}) {
      Document document = Invoice();
      document.SetHeader("datum", foreign.day);
      document.SetHeader("tecaj", foreign.rate);
      document.SetHeader("valuta_id", database
                                          .Query("valuta", ParseColumns("id:integer"),
                                                 "SELECT id FROM valuta WHERE oznaka = :oznaka",
                                                 {std::string(foreign.currency)})
                                          .AsVariant(0));
      ASSERT_TRUE(document.Store());
    }
    for (const std::int64_t cancelled : {1, 4}) ASSERT_TRUE(StoreStorno(cancelled));
  }
  database.Execute(
      "INSERT INTO otvorene_stavke (par_id, br_dok, datum_pp, datum_dos, duguje, dok_id) VALUES "
      "(1, 'kamata', '2022-12-31', '2022-12-31', 50, 5), (1, 'ispravak', '2022-12-31', '2022-12-31', -10, "
      "5)");
  StoreDocument(server);
  const auto items = [&] {
    return database
        .Query("items",
               ParseColumns("dok_id:integer,br_dok,par_id:integer,opis,datum_pp:date,duguje:currency,"
                            "datum_dok:date,datum_dos:date,kuna_za_euro:float"),
               "SELECT dok_id, br_dok, par_id, opis, datum_pp, duguje, datum_dok, datum_dos, kuna_za_euro "
               "FROM otvorene_stavke ORDER BY dok_id, br_dok")
        .SaveToString();
  };
  const auto paid = [&] {
    return database.Query("dok", ParseColumns("odmah"), "SELECT placeno_odmah FROM dok ORDER BY id")
        .SaveToString();
  };
  const std::string items_before = items();
  const std::string paid_before = paid();
  database.Execute("DELETE FROM otvorene_stavke WHERE dok_id NOT IN (2, 5)");
  database.Execute(
      "UPDATE otvorene_stavke SET duguje = 12.5, kuna_za_euro = NULL WHERE dok_id = 5 AND duguje > 90");
  database.Execute("UPDATE otvorene_stavke SET kuna_za_euro = 4 WHERE br_dok = 'kamata'");
  database.Execute("UPDATE dok SET placeno_odmah = NULL, datum_dospijeca = NULL WHERE id <> 2");
  DatabaseConnection connection = OpenPlainly(path_);
  std::vector<SchemaFile> files = SchemaFiles();
  for (const SchemaFile& file : SchemaFiles()) {
    const std::size_t update = file.text.find("UPDATE dok SET placeno_odmah");
    if (update != std::string_view::npos)
      files.push_back({"reference/098_again.sql", file.text.substr(update)});
    if (file.name.starts_with("reference/033")) files.push_back({"reference/099_again.sql", file.text});
  }
  MigrateSchema(connection, files);
  EXPECT_EQ(paid(), paid_before);
  EXPECT_EQ(items(), items_before);
}

// A company whose items have fallen behind catches up, whatever another one of the program does meanwhile.
TEST_P(DocumentTest, KeepsTheBalancesOfEachCompany) {
  const DatabaseLocation other =
      IsPostgresql() ? PostgresqlServer::NewCompany() : DatabaseLocation(folder_ / "druga.db");
  Database::Create(other, WithDemo::kYes);
  CompanyServer servers[] = {CompanyServer(Database(path_)), CompanyServer(Database(other))};
  for (CompanyServer& server : servers) {
    server.database().Execute(
        "INSERT INTO otvorene_stavke (par_id, br_dok, duguje, datum_dos) WITH RECURSIVE n(i) AS (SELECT 1 "
        "UNION ALL SELECT i + 1 FROM n WHERE i < 1100) SELECT 1, 'R', 1, '2024-01-01' FROM n");
    ASSERT_TRUE(StoreInvoice(server));
    const RecordSet kept =
        server.database().Query("n", ParseColumns("n:integer"), "SELECT stavka_id FROM par_saldo_do");
    EXPECT_EQ(kept.AsInteger(0), 1101) << server.database().location().ToString();
  }
  if (IsPostgresql()) PostgresqlServer::Drop(other.ToString());
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
