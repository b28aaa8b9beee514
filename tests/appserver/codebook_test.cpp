#include "appserver/codebook.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <random>

#include "appserver/company_server.h"
#include "appserver/fold.h"
#include "mox/foundation/text.h"
#include "tests/appserver/scratch_database.h"
#include "tests/fakes/postgresql_server.h"

namespace mox {
namespace {

class CodebookTest : public ScratchDatabase {
 public:
  RecordSet Read(const Codebook& codebook, const TAstaParamList& request = {}) {
    const auto answers = server.ReportDataService(request, "Kat\\" + std::string(codebook.name));
    RecordSet records;
    records.CleanClone(answers->ParamByName(codebook.name).AsDataSet());
    records.SetName(std::string(codebook.name));
    return records;
  }

  // What the server says to record sets: each stored key, with a '+' before a new one.
  std::string Write(std::string_view transaction, const RecordSet& records) {
    server.WriteDataService(RequestOf(transaction, {&records}));
    const WriteOutcome& outcome = server.LastWrite();
    if (outcome.failure) return outcome.failure->ToString();
    if (!outcome.stored) return "done";
    RecordSet stored;
    stored.CleanClone(*outcome.stored);
    std::string keys;
    for (stored.First(); !stored.Eof(); stored.Next()) {
      keys += (keys.empty() ? "" : " ") + std::string(stored.AsBoolean(2) ? "+" : "") + stored.AsText(1);
    }
    return keys;
  }

  CompanyServer server{Database(path_)};
};

// Every row of a made-up company, sent back as it was read, is found again and changes nothing.
TEST_P(CodebookTest, TakesBackWhatItAnswers) {
  for (const Codebook& codebook : CodebookTable()) {
    SCOPED_TRACE(codebook.name);
    RecordSet rows = Read(codebook);
    const std::string before = rows.SaveToString();
    const std::string keys = Write("KatalogUpis", rows);
    EXPECT_TRUE(server.LastWrite().committed) << keys;
    EXPECT_THAT(keys, testing::Not(testing::HasSubstr("+")));
    EXPECT_EQ(Read(codebook).SaveToString(), before);
  }
}

// What an import looks up can be entered: its table has a codebook, whose field the matched column is.
TEST_P(CodebookTest, MeetsEveryLookUpOfTheImports) {
  for (const ImportLookup& lookup : server.import_catalogue().Lookups()) {
    const Codebook* const codebook = FindCodebookOf(FoldCase(lookup.table));
    ASSERT_NE(codebook, nullptr) << lookup.sql;
    EXPECT_NO_THROW(ShapeOf(server.database(), *codebook).IndexOf(lookup.matched)) << lookup.sql;
  }
}

// Every column of the table is a field, or is shown by one; but for keys, and for those said here.
TEST_P(CodebookTest, HasAFieldForEveryColumn) {
  for (const Codebook& codebook : CodebookTable()) {
    for (const FieldDef& column : server.database().TableColumns(codebook.table)) {
      const bool known =
          std::any_of(codebook.fields.begin(), codebook.fields.end(), [&](const CodebookField& field) {
            return field.name == column.name || field.reference == column.name;
          });
      const bool is_kept_as_imported = column.name == "sifra_dobavljaca" || column.name == "naziv_par";
      EXPECT_TRUE(known || column.name == "id" || is_kept_as_imported) << codebook.name << '.' << column.name;
    }
  }
}

// What a part of a text finds is what reading every text of every row finds: rows that the index has, rows
// that were stored, changed and taken away since, and rows found by a text that they refer to.
TEST_P(CodebookTest, FindsByItsIndexWhatReadingAllRowsFinds) {
  std::mt19937 random(11);  // NOLINT: the same texts in every run
  const auto pick = [&](const auto& from) { return from[random() % std::size(from)]; };
  constexpr const char* kPieces[] = {"Č", "č",  "Ž", "ž", "Đ", "š", "a", "B", "z",
                                     " ", "\"", "%", "_", "'", "Ж", "ж", "ć"};
  const auto text = [&](std::size_t most) {
    std::string made;
    for (std::size_t i = random() % most + 1; i > 0; --i) made += pick(kPieces);
    return made;
  };
  Database& database = server.database();
  const Codebook& codebook = *FindCodebook("partneri");
  const CodebookShape shape = ShapeOf(database, codebook);
  const SearchIndex index = SearchIndexOf(shape).value();
  for (int round = 0; round < 40; ++round) {
    WriteTransaction guard(database);
    for (int i = 0; i < 8; ++i) {
      const std::string column = index.columns[random() % index.columns.size()];
      database.Execute("INSERT INTO par (naziv, mjesto_id) VALUES (:naziv, :mjesto)",
                       {text(12), static_cast<std::int64_t>(random() % 9 + 1)});
      database.Execute("UPDATE par SET " + column + " = :text WHERE id = :id",
                       {text(5) + (column == "sifra" ? std::to_string(round * 8 + i) : ""),
                        static_cast<std::int64_t>(random() % 200 + 1)});
    }
    database.Execute("DELETE FROM par WHERE id = (SELECT MAX(id) FROM par)");
    database.Execute("DELETE FROM par WHERE id = :id", {static_cast<std::int64_t>(random() % 200 + 3)});
    if (round % 3 == 0) RefreshSearchIndexes(database, round % 2 == 0 ? 5 : 1000);
    guard.Commit();
    const std::string raw = text(4);
    const std::string wanted(round % 5 == 0 ? "spl" : TrimBlanks(raw));
    if (wanted.empty()) continue;
    TAstaParamList request;
    request.FastAdd("trazi", wanted);
    std::string found;
    RecordSet rows = Read(codebook, request);
    for (; !rows.Eof(); rows.Next())
      found += KeyOf(shape, rows) + "," + rows.FieldByName("naziv").AsText() + ";";
    std::string expected;
    RecordSet all = Read(codebook);
    for (; !all.Eof(); all.Next()) {
      const std::vector<std::string> keys = FoldKeys(wanted);
      bool holds = false;
      for (std::size_t i = 0; i < shape.fields.size(); ++i) {
        if (shape.fields[i].kind != FieldKind::kText) continue;
        const std::string field = FoldKey(all.AsText(i));
        holds = holds || std::any_of(keys.begin(), keys.end(), [&](const std::string& key) {
                  return field.find(key) != std::string::npos;
                });
      }
      if (holds) expected += KeyOf(shape, all) + "," + all.FieldByName("naziv").AsText() + ";";
    }
    EXPECT_EQ(found, expected) << wanted << " in round " << round;
  }
}

MOX_ON_EVERY_ENGINE(CodebookTest);

// A database of its own, since an extension is there for all of its companies.
TEST(CodebookOfServer, IsSearchedByTheIndexOfAnExtensionWhereThereIsOne) {
  const DatabaseLocation shared = PostgresqlServer::NewCompany();
  const std::string name = "trazi" + std::to_string(::getpid());
  const auto control = [&](const std::string& what) { PostgresqlServer::RunAlone(shared, what + name); };
  control("CREATE DATABASE ");
  std::string address = shared.ToString();
  address.replace(address.find("/postgres?"), 10, "/" + name + "?");
  const DatabaseLocation location(address);
  Database::Create(location);
  PostgresqlServer::Run(location,
                        "INSERT INTO par (naziv) SELECT 'Kupac ' || n FROM generate_series(1, 3000) n");
  const auto search = [&] {
    CompanyServer server{Database(location)};
    const SearchIndex index = SearchIndexOf(ShapeOf(server.database(), *FindCodebook("partneri"))).value();
    const SearchQuery query = FindInIndex(server.database(), index, "pac 29_7", "t");
    const SearchQuery found = FindInIndex(server.database(), index, "pac 297", "t");
    std::string plan;
    const RecordSet lines =
        server.database().Query("plan", ParseColumns("detail"), "EXPLAIN " + found.sql, found.values);
    for (const RecordRow& line : lines.Rows()) plan += line.AsText(0);
    EXPECT_TRUE(
        server.database().Query("none", ParseColumns("id:integer"), query.sql, query.values).IsEmpty());
    EXPECT_EQ(
        server.database().Query("found", ParseColumns("id:integer"), found.sql, found.values).RowCount(),
        11U);
    return plan.find("par_trazi") != std::string::npos;
  };
  EXPECT_FALSE(search());
  PostgresqlServer::Run(location, "CREATE EXTENSION pg_trgm SCHEMA public; ANALYZE par");
  {
    // Beside somebody who has the company for himself, and where an index was left half made.
    PostgresqlServer::Run(location,
                          "CREATE INDEX par_trazi ON par (naziv); UPDATE pg_index "
                          "SET indisvalid = false WHERE indexrelid = to_regclass('par_trazi')");
    Database other(location);
    const WriteTransaction alone(other);
    EXPECT_TRUE(search());
  }
  control("DROP DATABASE ");
}

}  // namespace
}  // namespace mox
