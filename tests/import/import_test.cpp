#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>
#include <sstream>

#include "mox/foundation/files.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_profiles.h"
#include "tests/fakes/no_view.h"
#include "tests/fakes/record_sets.h"
#include "tests/fakes/recording_host.h"
#include "tests/foundation/case_file.h"
#include "tests/source_dir.h"

// The scripts of the folder cases/. A case begins with "= "; each line is a step, and what the dialog did in
// it stands below, with "> ". Lines that begin with "#" are comments. The steps:
//
//   key KEY                  shows the form for a profile
//   call KEY TEXT            as a screen of the host does; the user pastes the text and checks it
//   fields FIELD...          a grid of the data columns NAME:TYPE:SIZE:CHECKS, the checks some of R, L and U;
//                            a position without a column is called -
//   define POSITION TEXT...  the nine texts of one column
//   server SERVICE ANSWER FIELD;FIELD VALUE;VALUE...   answers these records
//   refuses                  the server, to store
//   offline                  the server cannot be reached, until the same step again
//   answers NUMBER...        of the user to the next dialogs
//   inputs TEXT...           of the user in the next input boxes
//   locale SEPARATOR DATE    of numbers and dates
//   watch                    shows the status window from here on
//   paste TEXT [x]           with Alt+E, or another key
//   go ROW; set FIELD TEXT   edits the grid, the rows counted from 1
//   check                    the button; says the modal result
//   validate POSITION [format]; values FIELD; sifre; katalog; velicine; filter [POSITION]
//   outcome                  what became of the rows, and all faults of the check
//   type FIELD TEXT; cancel  edits the current row and leaves it half typed; gives it up
//   delete; insert           the current row; a new one before it, left open
//   sheet ROW POSITION TEXT  what whoever read the sheet found in a cell; adds to what he found before
//   refused ROW FIELD        the server's refusal of a cell
//   odustani                 the button
//   paint                    what a table view needs of each row: its style, texts and faults, and the number
//                            of its record where a filter hides others
//   form; rows; stored       show the form and the two record sets, with null as ~

namespace mox {
namespace {

std::string ReadText(const std::string& path) { return ReadWholeFile(SourceDir() + "/tests/import/" + path); }

std::string Joined(const Words& words, const char* separator) {
  std::string joined;
  for (const std::string& word : words) joined += (&word == words.data() ? "" : separator) + word;
  return joined;
}

// A dialog on a screen that writes down what it is told, before a scripted host.
class Case : public ImportGridView {
 public:
  std::string Step(const std::string& line) {
    host_.log.clear();
    const Words words = WordsOf(line);
    const std::string error =
        TextOrError([&] { return Run(words[0], Words(words.begin() + 1, words.end())); });
    if (!error.empty()) host_.log.push_back(error);
    std::string outcome = line + "\n";
    for (const std::string& entry : host_.log) outcome += "> " + entry + "\n";
    return outcome;
  }

 private:
  void ShowModal(TfrmImportGrid& form) override {
    if (&form == &form_) return;
    form.ReadDataFromExcelClipboard();
    form.ProvjeraIUvozClick();
  }
  void ModalResultChanged(const TfrmImportGrid& form) override {
    if (watched_) host_.log.push_back("told of modal result " + Text(form.ModalResult()));
  }
  void StatusChanged(const TfrmStatus& status, bool repaint) override {
    if (!watched_) return;
    host_.log.push_back(!status.Visible() ? "status gone"
                                          : "status " + status.Text() + " " + Text(status.Position()) + "/" +
                                                Text(status.Maximum()) + (repaint ? " painted" : ""));
  }

  std::string Run(const std::string& step, const Words& words) {
    AppParts parts = host_.Parts();
    if (offline_) parts.comunication = nullptr;
    const ScopedApp app(parts);
    const auto number = [&](std::size_t word) { return static_cast<std::size_t>(std::stoi(words.at(word))); };
    RecordSet& grid = form_.AdsForImport();
    const std::map<std::string, std::function<void()>> actions = {
        {"key", [&] { form_.SetProfileKey(words[0]), form_.ShowModal(); }},
        {"fields", [&] { DefineFields(words); }},
        {"define",
         [&] {
           form_.ImportFieldDefinition(number(0), words[1], words[2], words[3], words[4], words[5], words[6],
                                       words[7], words[8], words[9]);
           form_.CreateDataSetTo();
         }},
        {"server", [&] { host_.services[words[0]] = [words](auto&) { return Answer(words); }; }},
        {"refuses", [&] { host_.write_answer = 0; }},
        {"offline", [&] { offline_ = !offline_; }},
        {"answers", [&] { host_.dialog_answers.push_back(std::stoi(words[0])); }},
        {"inputs", [&] { host_.input_answers = words; }},
        {"locale",
         [&] { host_.locale = StandardLocale({.decimal_separator = words[0], .short_date = words[1]}); }},
        {"watch", [&] { watched_ = true; }},
        {"go", [&] { Go(grid, number(0)); }},
        {"set", [&] { grid.Edit(), grid.FieldByName(words[0]).SetText(words[1]), grid.Post(); }},
        {"validate",
         [&] {
           if (words.size() > 1) return form_.ValidateFormat(number(0));
           form_.Validate(number(0), "ImportGrid");
         }},
        {"sifre", [&] { form_.GeneriranjeSifriClick(); }},
        {"katalog", [&] { form_.WSKatalogClick(); }},
        {"velicine", [&] { form_.PreracunVelicinaClick(); }},
        {"filter", [&] { form_.FocusColumn(words.empty() ? 3 : number(0)), form_.FilterClick(); }},
        {"form", [&] { ShowForm(); }},
        {"outcome", [&] { ShowOutcome(); }},
        {"rows", [&] { ShowRows(grid); }},
        {"paint", [&] { PaintRows(); }},
        {"type", [&] { grid.Edit(), grid.FieldByName(words[0]).SetText(words[1]); }},
        {"cancel", [&] { grid.Cancel(); }},
        {"delete", [&] { grid.Delete(); }},
        {"insert", [&] { grid.Insert(); }},
        {"sheet",
         [&] {
           sheet_faults_.push_back({number(0), number(1), ImportPass::kFormat, words[2], "is wrong"});
           form_.SetSheetFaults(sheet_faults_);
         }},
        {"refused",
         [&] {
           const ImportRefusal cells[] = {{number(0), words[1], "is taken"}};
           form_.SetRefusedCells(cells);
         }},
        {"odustani", [&] { form_.OdustaniClick(); }},
        {"stored", [&] { ShowRows(form_.AdsForDBSave()); }}};
    if (const auto action = actions.find(step); action != actions.end()) {
      action->second();
      return "";
    }
    if (step == "values") return form_.GetFieldValues(words[0]);
    if (step == "check") {
      form_.ProvjeraIUvozClick();
      return "modal result " + Text(form_.ModalResult());
    }
    host_.clipboard = words.at(step == "call" ? 1 : 0);
    if (step == "call") return CallImportGrid(words[0], *this) ? "imported" : "not imported";
    return form_.GridKeyDown(words.size() > 1 ? U'x' : U'E', {.alt = true}) ? "" : "key not consumed";
  }

  static void Go(RecordSet& set, std::size_t row) {
    set.First();
    for (std::size_t i = 1; i < row; ++i) set.Next();
  }

  void DefineFields(const Words& columns) {
    form_.SetFieldCount(columns.size() + 3);
    form_.ImportFieldDefinition(0, "V_TEMP", "validate temp", "5", "0", "False", "False", "", "False", "");
    form_.ImportFieldDefinition(1, "VALIDACIJA", "Validacija", "5", "0", "False", "False", "", "False", "");
    form_.ImportFieldDefinition(2, "ERR_MSG", "Greška", "1", "200", "False", "False", "", "False", "");
    for (std::size_t i = 0; i < columns.size(); ++i) {
      std::istringstream column(columns[i]);
      std::string part[4];
      for (std::string& text : part) std::getline(column, text, ':');
      if (part[0] == "-") continue;
      const auto flag = [&](char check) {
        return part[3].find(check) == std::string::npos ? "0" : check == 'R' ? "TRUE" : "true";
      };
      form_.ImportFieldDefinition(i + 3, part[0], "Opis " + part[0], part[1], part[2], flag('R'), flag('L'),
                                  "look " + part[0] + " in", flag('U'), "new " + part[0] + " in");
    }
    form_.CreateGrid();
    form_.CreateDataSetFrom();
    form_.CreateDataSetTo();
    form_.OnShow();
  }

  static std::unique_ptr<TAstaParamList> Answer(const Words& words) {
    RecordSet records(words[1]);
    for (const std::string& field : Split(words[2], ';')) records.DefineField(field, FieldKind::kText);
    records.Open();
    for (std::size_t i = 3; i < words.size(); ++i) {
      const Words row = Split(words[i], ';');
      records.AppendRecord(std::vector<Value>(row.begin(), row.end()));
    }
    return AnswerOf(words[1], std::move(records));
  }

  void ShowForm() {
    Words visible;
    for (const GridColumn& column : form_.Columns()) {
      if (column.visible) visible.push_back(column.caption + " " + Text(column.width));
    }
    const FormButton* const tools[] = {&form_.PreracunVelicinaButton(), &form_.GeneriranjeSifriButton(),
                                       &form_.WSKatalogButton()};
    for (const FormButton* const tool : tools) {
      if (tool->visible) visible.push_back("[" + tool->caption + "]");
    }
    const GridStyle* const style = form_.RowStyle();
    host_.log.push_back("modal " + Text(form_.ModalResult()) + " | " + form_.LblIndicator() + " | " +
                        form_.FilterButton().caption + " | " +
                        (style == nullptr ? "" : std::string(style->name)) + " | " + Joined(visible, ", "));
  }

  void PaintRows() {
    const TfrmImportGrid& form = form_;
    const RecordSet& grid = form.AdsForImport();
    for (std::size_t row = 0; row < grid.RowCount(); ++row) {
      const GridStyle* const style = form.RowStyle(row);
      std::string painted = std::to_string(grid.NumberOfRow(row)) + (row == grid.CurrentRow() ? "*" : "") +
                            " | " + (style == nullptr ? "" : std::string(style->name)) + " |";
      for (std::size_t f = kFirstDataPosition; f < grid.FieldCount(); ++f) {
        painted += " [" + grid.RowAt(row).DisplayText(f) + "]";
      }
      painted += " |";
      for (const ImportFault& fault : form.FaultsOfRow(row)) {
        painted += FaultFragment(fault, form.Fields()[fault.column]);
      }
      host_.log.push_back(painted);
    }
  }

  void ShowOutcome() {
    constexpr const char* kOutcomes[] = {"none",    "no rows", "faulty", "declined",
                                         "refused", "unknown", "stored"};
    host_.log.push_back(kOutcomes[static_cast<std::size_t>(form_.Outcome())] +
                        (form_.Refusal().empty() ? "" : ": " + form_.Refusal()));
    for (const ImportFault& fault : form_.Faults()) {
      host_.log.push_back("row " + std::to_string(fault.row) + " column " + std::to_string(fault.column) +
                          " [" + fault.value + "] " + fault.reason);
    }
  }

  void ShowRows(RecordSet& set) {
    for (std::size_t row = 1; row <= set.RecordCount(); ++row) {
      const SavedPosition position(set);
      Go(set, row);
      Words values;
      for (std::size_t f = 0; f < set.FieldCount(); ++f) {
        values.push_back(set.IsNull(f) ? "~" : "[" + set.AsText(f) + "]");
      }
      host_.log.push_back(Joined(values, " "));
    }
  }

  RecordingHost host_;
  bool watched_ = false;
  bool offline_ = false;
  std::vector<ImportFault> sheet_faults_;
  TfrmImportGrid form_{*this};
};

TEST(Import, Scripts) {
  for (const auto& file : std::filesystem::directory_iterator(SourceDir() + "/tests/import/cases")) {
    const std::string expected = ReadText("cases/" + file.path().filename().string());
    std::istringstream in(expected);
    std::string outcome;
    std::optional<Case> script;
    for (std::string line; std::getline(in, line);) {
      if (line.starts_with("> ")) continue;
      if (line.starts_with("= ")) script.emplace();
      const bool step = !line.empty() && line[0] != '#' && line[0] != '=';
      outcome += step ? script->Step(line) : line + "\n";
    }
    EXPECT_EQ(outcome, expected) << file.path();
  }
}

// A screen is told once of all that is read or marked, and no record becomes current on the way.
TEST(Import, TellsTheScreenOnceOfManyRows) {
  RecordingHost host;
  const ScopedApp app(host.Parts());
  NoView view;
  TfrmImportGrid form(view, "VRSTEKNJIZENJA");
  int told = 0;
  form.AdsForImport().AddListener([&told](const RecordSet&, const RecordSetChange&) { ++told; });
  form.OnShow();
  EXPECT_GT(std::exchange(told, 0), 0) << "a screen goes on listening to a grid of other columns";
  for (int i = 0; i < 1100; ++i) host.clipboard += i == 700 ? "12345\tx\n" : "1\tx\n";
  form.ReadDataFromExcelClipboard();
  EXPECT_EQ(std::exchange(told, 0), 1);
  form.ProvjeraIUvozClick();
  int visited = 0;
  form.AdsForImport().SetOnCalcFields([&visited](RecordSet&) { ++visited; });
  told = 0;
  const ImportRefusal refused[] = {{6, "SIFRA", "is taken"}};
  form.SetRefusedCells(refused);
  EXPECT_EQ(told, 1);
  EXPECT_EQ(visited, 0);
  std::string rows;
  for (const ImportFault& fault : form.Faults()) rows += Text(static_cast<std::int64_t>(fault.row)) + " ";
  EXPECT_EQ(rows, "6 701 ");
}

TEST(Import, AnyTextGivesOneRowForEachLineThatFits) {
  std::vector<std::string> texts = {std::string(1'000'000, '\t'), std::string(100'000, '\n')};
  std::minstd_rand random;
  for (int i = 0; i < 500; ++i) {
    std::string& text = texts.emplace_back();
    for (auto length = random() % 200; length > 0; --length) {
      text += random() % 4 > 0 ? static_cast<char>(random() % 256) : "\t\t\n\r"[random() % 4];
    }
  }
  RecordingHost host;
  const ScopedApp app(host.Parts());
  NoView view;
  for (const std::string& text : texts) {
    std::size_t expected = 0;
    std::istringstream lines(text);
    bool open = false;  // a line with surplus cells leaves its record to the next one
    for (std::string line; std::getline(lines, line);) {
      open = std::count(line.begin(), line.end(), '\t') > 1;
      expected += open ? 0 : 1;
    }
    TfrmImportGrid form(view, "KONTNIPLAN");
    form.OnShow();
    host.clipboard = text;
    form.ReadDataFromExcelClipboard();
    form.ProvjeraIUvozClick();
    EXPECT_EQ(form.AdsForImport().RecordCount(), expected + (open ? 1 : 0)) << text;
    EXPECT_EQ(form.AdsForDBSave().RecordCount(), form.AdsForImport().RecordCount()) << text;
  }
}

// Ends the work when it is told of the status for that time.
class EndingView : public NoView {
 public:
  std::size_t looks = 0;
  std::size_t ends_at = 0;

 private:
  void StatusChanged(const TfrmStatus& status, bool) override {
    if (status.Visible() && ++looks == ends_at) throw Abort();
  }
};

// A check is ended wherever the user looks up, which he can every so many rows, and leaves nothing half done.
TEST(Import, ACheckCanBeEndedEverywhere) {
  constexpr std::size_t kRows = 3 * kImportRowsBetween;
  RecordingHost host;
  host.services["ImportGrid"] = [](auto&) { return AnswerOf("adsList", SetOf("NAZIV,DRZAVA", "Nigdje|HR")); };
  const ScopedApp app(host.Parts());
  for (std::size_t i = 0; i < kRows; ++i)
    host.clipboard += i % 2 == 0 ? "\t10000\tHR\n" : "Zagreb\t10000\tHR\n";
  EndingView view;
  TfrmImportGrid form(view, "MJESTA");
  form.OnShow();
  form.ReadDataFromExcelClipboard();
  form.SetSheetFaults({{1, 4, ImportPass::kFormat, "10000", "rounded"}});
  const auto check = [&](std::size_t ends_at) {
    view.looks = 0;
    view.ends_at = ends_at;
    form.ProvjeraIUvozClick();
  };
  check(0);
  const std::size_t faults = form.Faults().size();
  const std::size_t all = view.looks;
  EXPECT_EQ(faults, kRows / 2 + 1);
  // Values are joined, rows are checked, and all are marked; faults are sorted in and taken.
  const std::size_t others = 1 + 3 * (1 + 4);  // the window, columns and their passes
  EXPECT_EQ(all, 3 * kRows / kImportRowsBetween + 2 * (faults / kImportRowsBetween) + others);
  // What was mended since is known to be in order after a whole check only.
  form.AdsForImport().GoToRow(2);
  form.AdsForImport().Edit();
  form.AdsForImport().SetText(kFirstDataPosition, "Sisak");
  form.AdsForImport().Post();
  for (std::size_t at = 1; at <= all; ++at) {
    SCOPED_TRACE(at);
    EXPECT_THROW(check(at), Abort);
    EXPECT_EQ(view.looks, at) << "nothing goes on";
    EXPECT_EQ(form.Faults().size(), faults) << "those of the check before";
    EXPECT_EQ(form.RowStyle(2), &TfrmImportGrid::kNeispravno);
    EXPECT_EQ(form.AdsForImport().RowAt(2).AsText(kErrMsgPosition), " Req:NAZIV");
    EXPECT_EQ(form.ModalResult(), kMrNone);
    EXPECT_EQ(form.Outcome(), ImportOutcome::kNone);
  }
  check(0);
  EXPECT_EQ(form.Faults().size(), faults - 1);
  EXPECT_EQ(form.RowStyle(0), &TfrmImportGrid::kNeispravno);
  EXPECT_EQ(form.RowStyle(2), nullptr);
}

using Prepare = void (TfrmImportGrid::*)();

#define MOX_METHOD(name) \
  { #name, &TfrmImportGrid::name }
const std::map<std::string_view, Prepare> kMethods = {MOX_METHOD(PrepareImportArtDob),
                                                      MOX_METHOD(PrepareImportZaposlenik),
                                                      MOX_METHOD(PrepareImportParPTTMje),
                                                      MOX_METHOD(PrepareImportSmjestajnaJed),
                                                      MOX_METHOD(PrepareImportResurs),
                                                      MOX_METHOD(PrepareImportResursBezLookup),
                                                      MOX_METHOD(PrepareImportGostiHotel),
                                                      MOX_METHOD(PrepareImportMjesta),
                                                      MOX_METHOD(PrepareImportParPTTMjeOPZ),
                                                      MOX_METHOD(PrepareImportPutniciGrupa),
                                                      MOX_METHOD(PrepareImportArtikala),
                                                      MOX_METHOD(PrepareImportOtvoreneStavke),
                                                      MOX_METHOD(PrepareImportOtvoreneStavkeStrano),
                                                      MOX_METHOD(PrepareImportOsnovnaSredstva),
                                                      MOX_METHOD(PrepareImportAPOUplate),
                                                      MOX_METHOD(PrepareImportVrsteKnjizenja),
                                                      MOX_METHOD(PrepareImportKontniPlan),
                                                      MOX_METHOD(PrepareImportTemeljnica),
                                                      MOX_METHOD(PrepareImportArtikliLunari),
                                                      MOX_METHOD(PrepareUpdateArtikliLunari),
                                                      MOX_METHOD(PrepareImportKupciLunari),
                                                      MOX_METHOD(PrepareUpdateParEracunMail),
                                                      MOX_METHOD(PrepareImportUslugeIPrijevodi)};
#undef MOX_METHOD

std::string ColumnsOf(const TfrmImportGrid& form) {
  std::string columns;
  for (const ImportFieldDef& field : form.Fields()) columns += field.field_name + field.unique_sql + "|";
  return columns;
}

TEST(Import, ProfilesAreTheTablesOfTheDomain) {
  RecordingHost host;
  const ScopedApp app(host.Parts());
  NoView view;
  std::istringstream expected(ReadText("profiles.txt"));
  const auto expect = [&](const std::string& line) {
    std::string next = "#";
    while (next.starts_with("#")) ASSERT_TRUE(std::getline(expected, next));
    EXPECT_EQ(line, next);
  };
  for (const ImportProfile& profile : ImportProfiles()) {
    TfrmImportGrid form(view, profile.key);
    form.OnShow();
    expect("= " + std::string(profile.key) + " " + std::string(profile.method) + " " +
           Text(static_cast<std::int64_t>(form.Fields().size())) + " " + std::string(profile.transaction) +
           " | " + std::string(profile.imports));
    TfrmImportGrid by_method(view);
    ASSERT_TRUE(kMethods.contains(profile.method)) << profile.method;
    (by_method.*kMethods.at(profile.method))();
    EXPECT_EQ(ColumnsOf(by_method), ColumnsOf(form)) << profile.method;
    std::int64_t position = 0;
    for (const ImportFieldDef& field : form.Fields()) {
      if (!field.IsDefined()) continue;
      const std::string look = field.lookup == "True" ? " L[" : " l[";
      expect(Text(position++) + " " + field.field_name + " " + field.field_type + " " + field.size +
             (field.required == "True" ? " R" : "") +
             (field.lookup_sql.empty() ? "" : look + field.lookup_sql + "]") +
             (field.unique == "True" ? " U[" + field.unique_sql + "]" : "") + " | " + field.caption);
    }
  }
  EXPECT_EQ(expected.peek(), EOF);
}

}  // namespace
}  // namespace mox
