#include <algorithm>
#include <chrono>
#include <cstdio>
#include <istream>
#include <memory>
#include <optional>
#include <ostream>
#include <vector>

#include "cli/argument_text.h"
#include "cli/command.h"
#include "cli/host.h"
#include "cli/import_faults.h"
#include "cli/import_history.h"
#include "cli/import_sheet.h"
#include "cli/import_workbook.h"
#include "cli/locale_argument.h"
#include "cli/options.h"
#include "cli/progress_bar.h"
#include "cli/record_set_file.h"
#include "cli/service_request.h"
#include "cli/suggestions.h"
#include "cli/text_table.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/import/import_history.h"
#include "mox/import/import_profiles.h"
#include "sheets/grid_sheet.h"

namespace mox {
namespace {

struct ImportArguments {
  std::string key;
  std::string path;
  std::string faults;
  std::string locale = "hr";
  std::string undo;
  SheetArguments sheet;
  bool yes = false;
  bool check = false;
  bool again = false;
  bool journal = false;
  bool list = false;
  bool print_heading = false;
  bool columns = false;
  std::string workbook;

  bool WantsFaultWorkbook() const { return IsWorkbookName(faults); }
  bool WantsFaultRecords() const { return FoldCase(faults).ends_with(".csv"); }
  const OutputKind& FaultKind() const {
    if (WantsFaultWorkbook()) return kFaultWorkbook;
    return WantsFaultRecords() ? kFaultRecords : kFaultList;
  }
};

std::vector<std::string_view> ProfileKeys() {
  std::vector<std::string_view> keys;
  for (const ImportProfile& profile : ImportProfiles()) keys.push_back(profile.key);
  return keys;
}

const ImportProfile& FindProfile(const std::string& key) {
  if (key.empty()) throw UsageError("KEY is required; --list names them");
  if (const ImportProfile* const profile = FindImportProfile(key)) return *profile;
  throw UsageError(ThereIsNo("profile", key, ProfileKeys()));
}

// --- what a profile is ---

void ListProfiles(std::string& out) {
  RecordSet profiles("profiles");
  for (const char* const name : {"key", "rows", "transaction"}) profiles.DefineField(name, FieldKind::kText);
  profiles.Open();
  for (const ImportProfile& profile : ImportProfiles()) {
    profiles.AppendRecord(
        {std::string(profile.key), std::string(profile.imports), std::string(profile.transaction)});
  }
  AppendTable(profiles, {}, out);
}

void AppendHeading(const TfrmImportGrid& form, std::string& out) {
  std::string line;
  for (const ImportFieldDef& field : DataFields(form)) line += (line.empty() ? "" : "\t") + field.caption;
  out += line + "\n";
}

std::string KindOf(const ImportFieldDef& field) {
  if (field.field_type == field_type::kText) return "text";
  if (field.field_type == field_type::kBoolean) return "boolean";
  return field.field_type == field_type::kDate ? "date" : "float";
}

void AppendColumns(const TfrmImportGrid& form, std::string& out) {
  RecordSet columns("columns");
  for (const char* const name : {"field", "caption", "kind"}) columns.DefineField(name, FieldKind::kText);
  columns.DefineField("size", FieldKind::kInteger);
  columns.DefineField("required", FieldKind::kBoolean);
  for (const char* const name : {"lookup", "unique"}) columns.DefineField(name, FieldKind::kText);
  columns.Open();
  for (const ImportFieldDef& field : DataFields(form)) {
    const auto sql = [](const std::string& flag, const std::string& text) {
      return ToBoolean(flag) ? Value(text) : Value();
    };
    columns.AppendRecord({field.field_name, field.caption, KindOf(field), ParseInteger(field.size),
                          ToBoolean(field.required), sql(field.lookup, field.lookup_sql),
                          sql(field.unique, field.unique_sql)});
  }
  WriteRecordSet(columns, out);
}

// --- the import ---

std::string Rows(std::size_t count) { return std::to_string(count) + (count == 1 ? " row" : " rows"); }

std::string StoredText(std::string_view key, std::size_t rows) {
  return std::string(key) + ": " + Rows(rows) + " stored";
}

// Not where --yes has answered, or where the rows come from the terminal.
bool AsksAtTerminal(const ImportArguments& arguments, const Session& session) {
  return !arguments.yes && !arguments.check && arguments.path != "-" && IsTerminal(session.in);
}

// The user at a terminal: reads the file onto the clipboard, pastes it and presses the button.
class ImportSession : public ImportGridView {
 public:
  ImportSession(const ImportArguments& arguments, Session& session)
      : arguments_(arguments), session_(session), bar_(session.err) {}

  void ShowModal(TfrmImportGrid& form) override {
    const FileText file = ReadFileText(arguments_.path, session_.in);
    sheet_ = ReadImportSheet(file, arguments_.sheet, DataFields(form), session_);
    session_.clipboard = arguments_.WantsFaultWorkbook() ? sheet_.text : std::move(sheet_.text);
    form.GridKeyDown(U'E', {.alt = true});
    session_.clipboard = {};
    form.SetSheetFaults(GridFaultsOf(sheet_));
    SetOrigin(form, file);
    form.ProvjeraIUvozClick();
    if (form.Outcome() == ImportOutcome::kStored && !arguments_.check) {
      session_.stored = StoredText(form.ProfileKey(), sheet_.numbers.size());
    }
    if (form.Outcome() == ImportOutcome::kRefused) ShowRefusedCells(form);
    if (!arguments_.faults.empty()) WriteFaults(form);
  }
  void StatusChanged(const TfrmStatus& status, bool /*repaint*/) override {
    if (status.Visible()) {
      bar_.Show(status.Text(), status.Position(), status.Maximum());
    } else {
      bar_.Clear();
    }
  }

  /// Where the rows stand in the sheet.
  const std::vector<std::size_t>& Numbers() const { return sheet_.numbers; }
  /// Of a file that was imported before, where the user did not say that he knows: which import it was.
  const std::optional<std::string>& Before() const { return before_; }
  bool WroteFaults() const { return wrote_faults_; }

 private:
  // A file that was imported before is stored once more only where the user wants that; the server sees to
  // it, too.
  void SetOrigin(TfrmImportGrid& form, const FileText& file) {
    ImportOrigin origin = OriginOf(arguments_.path, file.bytes, arguments_.again);
    const auto before = StoredImport(form.ProfileKey(), origin.digest);
    if (before && !origin.again) {
      origin.again =
          AsksAtTerminal(arguments_, session_) &&
          ShowVelorDialog(TVCustomDialogType::kConfirmation, "import", origin.file,
                          "was imported before (" + *before + "). Import it once more?") == kDialogYes;
      if (!origin.again) before_ = *before;
    }
    form.SetOrigin(origin);
  }

  void ShowRefusedCells(TfrmImportGrid& form) {
    const auto& failure = ServerOf(session_).LastWrite().failure;
    if (!failure || failure->row == 0) return;
    std::vector<ImportRefusal> cells = {{failure->row, failure->field, failure->message}};
    for (const RefusedCell& cell : failure->others) cells.push_back({cell.row, cell.field, cell.message});
    form.SetRefusedCells(cells);
  }

  std::string FaultFile(const TfrmImportGrid& form) const {
    if (arguments_.WantsFaultWorkbook()) return FaultWorkbook(form, DataFields(form), sheet_);
    if (arguments_.WantsFaultRecords()) return FaultRecords(form, sheet_.numbers);
    return FaultLines(form, sheet_.numbers);
  }

  // Faults are shown also where their file cannot be written; where there are none, all may be stored
  // already.
  void WriteFaults(const TfrmImportGrid& form) {
    try {
      session_.files.Write(arguments_.faults, FaultFile(form), arguments_.FaultKind());
      wrote_faults_ = true;
    } catch (const Error& error) {
      session_.err << (form.Faults().empty() ? "mox: warning: " : "mox: ") << OnOneLine(error.what())
                   << std::endl;
    }
  }

  const ImportArguments& arguments_;
  Session& session_;
  ProgressBar bar_;
  SheetText sheet_;
  std::optional<std::string> before_;
  bool wrote_faults_ = false;
};

constexpr std::size_t kMostShown = 50;  // faults

void ReportFaults(const ImportArguments& arguments, const TfrmImportGrid& form, const ImportSession& user,
                  Session& session) {
  const RowNumbers numbers = user.Numbers();
  RecordSet table = FaultTable(form, numbers, kMostShown);
  AppendTable(table, {}, session.out);
  session.err << "mox: " << FaultyRows(form) << " of " << Rows(numbers.size())
              << " faulty, nothing was stored";
  if (form.Faults().size() > kMostShown) {
    session.err << "; the first " << kMostShown << " of " << form.Faults().size() << " faults are shown";
    if (arguments.faults.empty()) session.err << " (--faults FILE takes all of them)";
    if (user.WroteFaults()) session.err << " (" << OnOneLine(arguments.faults) << " has all of them)";
  }
  session.err << std::endl;
  if (user.Before()) {
    session.err << "mox: " << OnOneLine("the same file was imported before: " + *user.Before()) << std::endl;
  }
  session.valid = false;
}

// Its table has the row as the user counts it.
void ReportRefusedCell(const TfrmImportGrid& form, RowNumbers numbers, Session& session) {
  AppendTable(FaultTable(form, numbers, kMostShown), {}, session.out);
  session.err << "mox: " << OnOneLine("nothing was stored: " + form.Refusal()) << std::endl;
  session.valid = false;
}

// A check asks and tells nothing on the way.
class SilentDialogs : public AppDialogs {
  int ShowVelorDialog(TVCustomDialogType kind, std::string_view /*caption*/, std::string_view /*heading*/,
                      std::string_view /*message*/) override {
    return kind == TVCustomDialogType::kConfirmation ? kDialogYes : 0;
  }
  void ShowMessage(std::string_view /*text*/) override {}
};

std::unique_ptr<AppDialogs> DialogsOf(const ImportArguments& arguments, Session& session) {
  if (arguments.check) return std::make_unique<SilentDialogs>();
  if (AsksAtTerminal(arguments, session)) return std::make_unique<ConsoleDialogs>(session.err, session.in);
  return std::make_unique<ConsoleDialogs>(session.err, arguments.yes ? kDialogYes : kDialogNo);
}

void ReportRows(const ImportArguments& arguments, const ImportProfile& profile, const ImportSession& user,
                double seconds, std::string& out) {
  char text[32];
  std::snprintf(text, sizeof text, "%.1f", seconds);
  out += std::string(profile.key) + ": " + Rows(user.Numbers().size()) +
         (arguments.check ? " in order, nothing was stored (" : " stored (") + std::string(profile.imports) +
         ") in " + text + " s\n";
}

void RunImport(const ImportArguments& arguments, const ImportProfile& profile, Session& session) {
  ServerOf(session).SetRehearsing(arguments.check);
  session.files.Keep(arguments.path, "the sheet that is imported");
  if (!arguments.faults.empty()) session.files.Require(arguments.faults, arguments.FaultKind());
  const auto begin = std::chrono::steady_clock::now();
  StandardLocale locale(LocaleArgument(arguments.locale));
  const std::unique_ptr<AppDialogs> dialogs = DialogsOf(arguments, session);
  ImportSession user(arguments, session);
  const ScopedApp app({.ini = &App().Ini(),
                       .comunication = &App().Comunication(),
                       .dialogs = dialogs.get(),
                       .locale = &locale,
                       .platform = &App().Platform()});
  TfrmImportGrid form(user, profile.key);
  form.ShowModal();
  switch (form.Outcome()) {
    case ImportOutcome::kFaulty:
      return ReportFaults(arguments, form, user, session);
    case ImportOutcome::kStored:
      break;
    case ImportOutcome::kRefused:
      if (!form.Faults().empty()) return ReportRefusedCell(form, user.Numbers(), session);
      throw Error("nothing was stored: " + form.Refusal() +
                  (user.Before() ? " (--again stores it once more)" : ""));
    case ImportOutcome::kDeclined:
      throw Error("nothing was stored: the confirmation was not answered with yes (--yes answers it)");
    default:
      throw Error("there are no rows, nothing was stored");
  }
  const std::chrono::duration<double> passed = std::chrono::steady_clock::now() - begin;
  ReportRows(arguments, profile, user, passed.count(), session.out);
}

// One profile asks the server which of its columns are required; without one it does without.
std::vector<ImportFieldDef> FieldsOf(const ImportProfile& profile, const ImportArguments& arguments,
                                     Session& session) {
  if (session.server == nullptr) {
    std::vector<ImportFieldDef> fields = ImportFieldsOf(profile);
    fields.erase(fields.begin(), fields.begin() + kFirstDataPosition);
    std::erase_if(fields, [](const ImportFieldDef& field) { return !field.IsDefined(); });
    return fields;
  }
  ImportSession user(arguments, session);
  TfrmImportGrid form(user, profile.key);
  form.OnShow();
  return DataFields(form);
}

// The profile's sheet for people, empty or with the rows of a file.
void WriteTemplate(const ImportArguments& arguments, const ImportProfile& profile, Session& session) {
  if (!arguments.print_heading) throw UsageError("--xlsx FILE takes the --template");
  session.files.Keep(arguments.path, "the sheet that it is filled with");
  session.files.Require(arguments.workbook, kTemplateWorkbook);
  StandardLocale locale(LocaleArgument(arguments.locale));
  const ScopedApp app({.ini = &App().Ini(), .comunication = session.server, .locale = &locale});
  const std::vector<ImportFieldDef> fields = FieldsOf(profile, arguments, session);
  SheetText rows;
  if (!arguments.path.empty()) {
    rows = ReadImportSheet(ReadFileText(arguments.path, session.in), arguments.sheet, fields, session);
  }
  session.files.Write(arguments.workbook,
                      TemplateWorkbook(arguments.key, fields, session.server != nullptr, rows),
                      kTemplateWorkbook);
}

void Run(const ImportArguments& arguments, Session& session) {
  if (arguments.list) return ListProfiles(session.out);
  if (arguments.journal) return ListImports(session);
  if (!arguments.undo.empty()) {
    return TakeImportBack(IntegerArgument("--undo", arguments.undo), arguments.check, session);
  }
  const ImportProfile& profile = FindProfile(arguments.key);
  if (!arguments.workbook.empty()) return WriteTemplate(arguments, profile, session);
  if (!arguments.print_heading && !arguments.columns) return RunImport(arguments, profile, session);
  ImportSession user(arguments, session);
  TfrmImportGrid form(user, profile.key);
  form.OnShow();
  if (arguments.print_heading) AppendHeading(form, session.out);
  if (arguments.columns) AppendColumns(form, session.out);
}

void Declare(Options& options) {
  auto arguments = std::make_shared<ImportArguments>();
  options.Argument("KEY", arguments->key, "the profile, what the rows are; --list names them");
  options.Argument("FILE", arguments->path,
                   "the rows: a spreadsheet (.xlsx, .xlsm, .ods), a .csv with commas or\n"
                   "semicolons, or tab-separated as copied from a spreadsheet (standard\n"
                   "input where it is left out or -)");
  DeclareSheetArguments(options, arguments->sheet);
  options.Value("--locale", arguments->locale, "LOCALE",
                "how numbers and dates are written: hr (default), sl, de, it, en-GB,\n"
                "en-US, iso, or decimal separator and short date, \". MM/dd/yyyy\"");
  options.Value("--faults", arguments->faults, "FILE",
                "write all faults: a line a row, its number, a tab, its fault text; as a .csv\n"
                "a record each with value and reason; as a .xlsx the rows themselves with\n"
                "their faults, to be mended and imported");
  options.Flag("--check", arguments->check, "do all of it, but store nothing");
  options.Flag("--yes", arguments->yes, "store rows that are in order without asking");
  options.Flag("--again", arguments->again, "store a file once more that was imported before");
  options.Flag("--journal", arguments->journal, "list the stored imports");
  options.Value(
      "--undo", arguments->undo, "NUMBER",
      "take an import of the journal back: all of its rows, or none where\nsome were changed or are "
      "referred to since");
  options.Flag("--list", arguments->list, "list the profiles");
  options.Flag("--template", arguments->print_heading, "print the heading row of the profile's sheet");
  options.Value("--xlsx", arguments->workbook, "FILE",
                "with --template: write it as a sheet to be filled in, required columns\n"
                "marked, drop-down lists of the database where --db names one; with the\n"
                "rows of FILE where it is given");
  options.Flag("--columns", arguments->columns, "print the profile's columns and their checks as a file");
  options.Alone("--journal", {});
  options.Alone("--undo", {"--check"});
  options.Run([arguments](Session& session) {
    if (arguments->path.empty() && arguments->workbook.empty()) arguments->path = "-";
    Run(*arguments, session);
  });
}

}  // namespace

const Command kImportCommand = {"import", "KEY [FILE] --db DB",
                                "Check rows copied from a spreadsheet and store all of them or none.",
                                R"(Examples:
  mox import PARTNERPTT --template --xlsx partneri.xlsx --db tvrtka.db
  mox import PARTNERPTT partneri.xlsx --check --faults greske.xlsx --db tvrtka.db
  mox import PARTNERPTT partneri.xlsx --sheet Kupci --yes --db tvrtka.db
  mox import PARTNERPTT izvoz.csv --save-map karta.csv --db tvrtka.db
  mox import PARTNERPTT izvoz.csv --map karta.csv --yes --db tvrtka.db
  mox import --journal --db tvrtka.db
  mox import --undo 3 --db tvrtka.db

A first row with names or captions of the columns is a heading, by which they may stand in any order; what is
unknown or missing is named. Rows are counted from 1 behind the heading. UTF-8, UTF-16 with a byte-order mark,
Windows-1250 and ISO-8859-2 are told apart; what is not UTF-8 is named. A row with a filled cell behind the
last column is refused; a line break or a tab inside a cell is a fault, and so is a text longer than its
column, or than 100 characters. Where the database does not take the rows, nothing is stored and
the exit status is 1.

--check finds the same as storing does, what only the database knows too. A file that was imported before is
refused unless --again is given; it may be imported again once it was taken back.)",
                                Declare};

}  // namespace mox
