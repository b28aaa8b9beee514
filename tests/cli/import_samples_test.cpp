#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <sstream>

#include "appserver/company_server.h"
#include "appserver/database.h"
#include "mox/foundation/files.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_profiles.h"
#include "tests/cli/run_with.h"
#include "tests/fakes/recording_host.h"
#include "tests/fakes/scratch_folder.h"
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

// All rows of all tables but the journal, as texts.
std::string Dump(const std::string& path) {
  Database database(path);
  std::string dump;
  for (const std::string& table : database.TableNames()) {
    if (table == "uvoz" || table == "dnevnik_upisa") continue;  // the journals stay
    std::string names;
    for (const FieldDef& column : database.TableColumns(table))
      names += (names.empty() ? "" : ",") + column.name;
    RecordSet rows =
        database.Query(table, ParseColumns(names), "SELECT " + names + " FROM " + table + " ORDER BY 1");
    dump += rows.SaveToString();
  }
  return dump;
}

bool HasUniqueColumn(const std::vector<ImportFieldDef>& fields) {
  return std::any_of(fields.begin(), fields.end(), [](const ImportFieldDef& field) {
    return field.IsDefined() && ToBoolean(field.unique);
  });
}

// A user at another program, who is asked to confirm while somebody else stores the same rows.
class SlowUser : public RecordingHost, public ImportGridView {
 public:
  explicit SlowUser(std::function<void()> meanwhile) : meanwhile_(std::move(meanwhile)) {}
  void ShowModal(TfrmImportGrid& form) override {
    form.ReadDataFromExcelClipboard();
    form.ProvjeraIUvozClick();
  }
  int ShowVelorDialog(TVCustomDialogType kind, std::string_view /*caption*/, std::string_view /*heading*/,
                      std::string_view /*message*/) override {
    if (kind == TVCustomDialogType::kConfirmation) meanwhile_();
    return kDialogYes;
  }

 private:
  std::function<void()> meanwhile_;
};

// What became of his import.
std::string ImportSlowly(const std::string& database, const Sample& sample, std::function<void()> meanwhile) {
  CompanyServer server{Database(database)};
  SlowUser user(std::move(meanwhile));
  const ScopedApp app(user.PartsOn(server));
  const std::string sheet = ReadWholeFile(SheetOf(sample, ".tsv"));
  user.clipboard = sheet.substr(sheet.find('\n') + 1);
  TfrmImportGrid form(user, sample.key);
  form.ShowModal();
  return form.Outcome() == ImportOutcome::kRefused ? form.Refusal() : "not refused";
}

// What the sheets look up, stored with the command.
void EnterCodebooks(const std::string& path) {
  std::ifstream in(SourceDir() + "/tests/cli/cases/import_codebooks.txt");
  std::string name, rows;
  const auto store = [&] {
    if (name.empty()) return;
    const Outcome stored = RunWith({"codebook", name, "--store", "-", "--db", path}, rows);
    EXPECT_EQ(stored.status, 0) << name << ": " << stored.err;
    rows.clear();
  };
  for (std::string line; std::getline(in, line);) {
    if (line.empty() || line[0] == '#') continue;
    if (!line.starts_with("= ")) {
      rows += line + "\n";
      continue;
    }
    store();
    name = line.substr(2);
  }
  store();
}

class ImportSamples : public testing::TestWithParam<std::string> {};

// Every import stores its sample sheet value by value, as a text and as a workbook, and nothing of the faulty
// one, whose faults it shows; also where all that it looks up was entered through codebooks.
// Where two programs import the sheet at once and values must be new, the later one is refused with the
// rows. In the end all imports are taken back, the last one first, and the database is as it was.
TEST_P(ImportSamples, AreStoredAsTheSheetSays) {
  const ScratchFolder folder;
  const std::string path = folder / "tvrtka.db";
  const bool by_hand = GetParam() == "codebooks";
  const std::string form = by_hand ? "tsv" : GetParam();
  Database::Create(path, by_hand ? WithDemo::kNo : WithDemo::kYes);
  if (by_hand) EnterCodebooks(path);
  const std::vector<Sample> samples = ReadSamples();
  EXPECT_EQ(samples.size(), ImportProfiles().size());
  const std::string empty = Dump(path);
  for (const Sample& sample : samples) {
    SCOPED_TRACE(sample.key);
    const auto fields = ImportFieldsOf(*FindImportProfile(sample.key));
    const auto import = [&](const std::string& ending) {
      const Outcome done = RunWith({"import", sample.key, SheetOf(sample, ending), "--yes", "--db", path});
      return Text(done.status) + "\n" + done.out;
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
    const auto import_sheet = [&] { EXPECT_EQ(import("." + form).front(), '0'); };
    if (HasUniqueColumn(fields)) {
      EXPECT_THAT(ImportSlowly(path, sample, import_sheet),
                  testing::ContainsRegex("row 1: .* is in the database already, in "));
    } else {
      import_sheet();
    }
    const Rows after = stored();
    ASSERT_EQ(after.size(), before.size() + (sample.changes ? 0 : sheet.size()));
    EXPECT_EQ(Rows(after.end() - static_cast<std::ptrdiff_t>(sheet.size()), after.end()), sheet);
  }
  for (std::size_t import = samples.size(); import > 0; --import) {
    const Outcome done = RunWith({"import", "--undo", std::to_string(import), "--db", path});
    EXPECT_EQ(done.status, 0) << done.err;
  }
  EXPECT_EQ(Dump(path), empty);
}

// A wrong sheet gives a fault for nearly every cell: the first are shown, all are counted, and the file has
// them whole, longer than the grid's fault text is.
TEST(ImportFaults, OfLargeSheetsAreShownInPartAndWrittenWhole) {
  const ScratchFolder scratch;
  const std::string folder = scratch / "";
  Database::Create(folder + "tvrtka.db");
  std::ofstream sheet(folder + "list.tsv");
  const std::string place(90, 'x');
  for (int row = 0; row < 30; ++row) sheet << "1\t\t\t\t\tnema\t" << place << "\n";
  sheet.close();
  const auto check = [&](const char* option, const char* file) {
    return RunWith({"import", "PARTNERPTT", folder + "list.tsv", "--check", option, folder + file, "--db",
                    folder + "tvrtka.db"});
  };
  const Outcome checked = check("--faults", "greske.txt");
  EXPECT_EQ(checked.status, 1);
  EXPECT_EQ(std::count(checked.out.begin(), checked.out.end(), '\n'), 2 + 50);
  EXPECT_THAT(
      checked.err,
      testing::HasSubstr("30 of 30 rows faulty, nothing was stored; the first 50 of 60 faults are shown (" +
                         folder + "greske.txt has all of them)"));
  std::string expected;
  for (int row = 1; row <= 30; ++row)
    expected += Text(row) + "\t Lookup:PTT:nema Lookup:MJESTO:" + place + "\n";
  EXPECT_EQ(ReadWholeFile(folder + "greske.txt"), expected);
  // A pipe that nobody serves is not waited for.
  ASSERT_EQ(::mkfifo((folder + "cijev").c_str(), 0600), 0);
  for (const char* const option : {"--map", "--save-map", "--faults"}) {
    const Outcome refused = check(option, "cijev");
    EXPECT_EQ(refused.status, 1);
    EXPECT_EQ(refused.err, "mox: " + folder + "cijev: is a pipe and not a file\n") << option;
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, ImportSamples, testing::Values("tsv", "xlsx", "codebooks"),
                         [](const auto& form) { return form.param; });

}  // namespace
}  // namespace mox
