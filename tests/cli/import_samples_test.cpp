#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "appserver/database.h"
#include "cli/run.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/import/import_profiles.h"
#include "tests/foundation/case_file.h"
#include "tests/source_dir.h"

namespace mox {
namespace {

using Rows = std::vector<Words>;

struct Sample {
  std::string key;
  bool changes = false;  // stored rows, instead of adding new ones
  std::string faults;
  std::string stored_sql;
};

std::vector<Sample> ReadSamples() {
  std::vector<Sample> samples;
  std::ifstream in(SourceDir() + "/tests/cli/cases/import_samples.txt");
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (const Words words = WordsOf(line); words[0] == "=" || words[0] == "~") {
      samples.push_back({words.at(1), words[0] == "~", "", ""});
    } else if (line.starts_with("> ")) {
      samples.back().faults += line.substr(2) + "\n";
    } else {
      samples.back().stored_sql += line + " ";
    }
  }
  return samples;
}

std::string SheetOf(const Sample& sample, const std::string& ending) {
  return SourceDir() + "/examples/import/" + FoldCase(sample.key) + ending;
}

// A number, date, Boolean or name of another row, as a sheet or the database has it, in one form for both.
std::string Form(const std::string& text, const ImportFieldDef& field) {
  if (text.empty()) return text;
  if (field.field_type == field_type::kFloat) {
    std::string number = text;
    std::replace(number.begin(), number.end(), ',', '.');
    return ShortestNumber(ParseNumber(number));
  }
  int day = 0, month = 0, year = 0;
  if (field.field_type == field_type::kDate) {
    if (std::sscanf(text.c_str(), "%d-%d-%d", &year, &month, &day) != 3)
      std::sscanf(text.c_str(), "%d.%d.%d", &day, &month, &year);
    return Text(year) + "-" + Text(month) + "-" + Text(day);
  }
  if (field.field_type == field_type::kBoolean) return ToBoolean(text) ? "true" : "false";
  return ToBoolean(field.lookup) ? FoldCase(text) : text;
}

Rows SheetRows(const Sample& sample, const std::vector<ImportFieldDef>& fields) {
  Rows rows;
  std::ifstream in(SheetOf(sample, ".tsv"));
  std::string line;
  for (std::getline(in, line); std::getline(in, line);) {
    rows.emplace_back();
    std::istringstream cells(line + '\t');
    for (std::string cell; std::getline(cells, cell, '\t');) {
      rows.back().push_back(Form(cell, fields.at(kFirstDataPosition + rows.back().size())));
    }
  }
  return rows;
}

// All rows of the query, each column as a text.
Rows StoredRows(Database& database, const std::string& sql, const std::vector<ImportFieldDef>& fields,
                std::size_t columns) {
  std::string texts = "c0";
  for (std::size_t i = 1; i < columns; ++i) texts += ",c" + std::to_string(i);
  RecordSet records = database.Query("stored", ParseColumns(texts), sql);
  Rows rows;
  for (; !records.Eof(); records.Next()) {
    rows.emplace_back();
    for (std::size_t i = 0; i < columns; ++i) {
      rows.back().push_back(Form(records.AsText(i), fields.at(kFirstDataPosition + i)));
    }
  }
  return rows;
}

// Every import stores its sample sheet value by value, and nothing of the faulty one, whose faults it shows.
TEST(ImportSamples, AreStoredAsTheSheetSays) {
  const std::string path = testing::TempDir() + "mox_import_samples.db";
  std::filesystem::remove(path);
  Database::Create(path, WithDemo::kYes);
  const std::vector<Sample> samples = ReadSamples();
  EXPECT_EQ(samples.size(), ImportProfiles().size());
  for (const Sample& sample : samples) {
    SCOPED_TRACE(sample.key);
    const auto fields = ImportFieldsOf(*FindImportProfile(sample.key));
    const auto import = [&](const std::string& ending) {
      const Words words = {"import", sample.key, SheetOf(sample, ending), "--heading", "--yes", "--db", path};
      std::istringstream in;
      std::ostringstream out, err;
      const int status = mox::Run(words, in, out, err);
      return Text(status) + "\n" + out.str();
    };
    const Rows sheet = SheetRows(sample, fields);
    ASSERT_GE(sheet.size(), 2U);
    const auto stored = [&] {
      Database database(path);
      return StoredRows(database, sample.stored_sql + "ORDER BY t.id", fields, sheet[0].size());
    };
    const Rows before = stored();
    EXPECT_EQ(import("_faulty.tsv"), "1\n" + sample.faults);
    EXPECT_EQ(stored(), before);
    EXPECT_EQ(import(".tsv").front(), '0');
    const Rows after = stored();
    ASSERT_EQ(after.size(), before.size() + (sample.changes ? 0 : sheet.size()));
    EXPECT_EQ(Rows(after.end() - static_cast<std::ptrdiff_t>(sheet.size()), after.end()), sheet);
  }
}

}  // namespace
}  // namespace mox
