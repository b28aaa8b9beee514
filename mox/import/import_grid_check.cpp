#include <algorithm>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/import/import_check_internal.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_profiles.h"
#include "mox/server/param_list.h"
#include "mox/server/transactions.h"

namespace mox {
namespace {

constexpr std::string_view kService = "ImportGrid";

constexpr const char* kPassNames[] = {"obaveznih", "loookup",  // three o's, as the users know it
                                      "formata", "jedinstvenosti"};

RecordSet AskServer(const std::string& sql, ImportValues values, std::string_view service_name) {
  TAstaParamList request;
  request.FastAdd("params1", Value(sql));
  request.FastAdd("params2", Value(std::move(values.list)));
  if (!values.apart.empty()) request.FastAdd("params3", Value(std::move(values.apart)));
  const auto answer = App().Comunication().ReportDataService(request, service_name);
  if (answer == nullptr) throw Error(std::string(service_name) + ": the server gave no answer");
  return std::move(answer->ParamByName("adsList").AsDataSet());
}

}  // namespace

void TfrmImportGrid::ShowPass(const ImportFieldDef& field, ImportPass pass) {
  status_.SetText(std::string("Provjera ") + kPassNames[static_cast<std::size_t>(pass)] + " podataka [" +
                  field.caption + "]");
  status_.Refresh();
}

// The questions of a check go to the server, and where it has come to is shown.
class TfrmImportGrid::Lookups : public ImportLookups {
 public:
  explicit Lookups(TfrmImportGrid& form) : form_(form) {}
  RecordSet Find(const ImportFieldDef& /*field*/, const std::string& sql, ImportValues values) override {
    return AskServer(sql, std::move(values), kService);
  }
  void BeginColumn(std::size_t position) override {
    form_.status_.SetPosition(static_cast<std::int64_t>(position));
  }
  void BeginPass(const ImportFieldDef& field, ImportPass pass) override { form_.ShowPass(field, pass); }
  void Reached(std::size_t /*row*/) override { form_.LookAtStatus(); }

 private:
  TfrmImportGrid& form_;
};

// --- the button ---

void TfrmImportGrid::ProvjeraIUvozClick() {
  constexpr std::string_view kHeading = "Uvoz podataka";
  SetModalResult(kMrNone);
  outcome_ = ImportOutcome::kNone;
  refusal_.clear();
  if (!CheckAllRows()) {
    ShowVelorDialog(TVCustomDialogType::kError, "Upozorenje", kHeading, "Nema podataka za obradu!");
    outcome_ = ImportOutcome::kNoRows;
    SetModalResult(kMrCancel);
    return;
  }
  const ImportProfile* const profile = FindImportProfile(profile_key_);
  if (profile != nullptr && profile->overwrites_mail) {
    ShowVelorDialog(TVCustomDialogType::kInformation, "Upozorenje", kHeading,
                    "Postojeće eRačun e-mail adrese će biti prepisane!");
  }
  if (!faults_.All().empty()) {
    outcome_ = ImportOutcome::kFaulty;
    ShowVelorDialog(TVCustomDialogType::kError, "Upozorenje", kHeading, "Pronađene su greške u podacima!");
    return;
  }
  const int answer = ShowVelorDialog(TVCustomDialogType::kConfirmation, "Potvrda", kHeading,
                                     "Podaci su provjereni i ispravni. Nastavak rada?");
  if (answer != kDialogYes) {
    outcome_ = ImportOutcome::kDeclined;
  } else if (profile != nullptr) {
    StoreRows(profile->transaction);
  }
  SetModalResult(provjera_i_uvoz_button_.modal_result);
}

void TfrmImportGrid::StoreRows(std::string_view transaction) {
  std::vector<const RecordSet*> sent = {&target_};
  if (origin_.FieldCount() > 0) sent.push_back(&origin_);
  outcome_ = ImportOutcome::kUnknown;  // until the server has answered
  if (ExecuteTransaction(transaction, sent)) {
    outcome_ = ImportOutcome::kStored;
  } else {
    outcome_ = ImportOutcome::kRefused;
    refusal_ = App().Comunication().WriteRefusal();
  }
}

bool TfrmImportGrid::ExecuteTransaction(std::string_view transaction_name,
                                        std::span<const RecordSet* const> record_sets) {
  const StatusWindow status(status_, "Pohrana podataka u sustav", 3);
  status_.SetPosition(1);
  const TAstaParamList request = WriteRequest(transaction_name, record_sets);
  status_.SetPosition(2);
  const bool stored = App().Comunication().WriteDataService(request) != 0;
  status_.SetPosition(3);
  return stored;
}

// False where there are no rows.
bool TfrmImportGrid::CheckAllRows() {
  if (!source_.IsActive()) return false;
  WholeSetWalk walk(source_);
  source_.First();  // posts a record that was left open, drops one that nobody touched
  if (source_.IsEmpty()) {
    walk.Restore();
    return false;
  }
  target_.Clear();
  const auto count = static_cast<std::int64_t>(fields_.size());
  const StatusWindow status(status_, "Provjera podataka", count - 4);
  ImportCheck check(fields_, source_.Table(), target_);
  Lookups lookups(*this);
  try {
    check.Ask(lookups);
  } catch (const Abort&) {
    throw;  // the user has ended it
  } catch (...) {
    TakeFaults(check.Run([this](std::size_t) { LookAtStatus(); }));
    throw;
  }
  TakeFaults(check.Run([this](std::size_t) { LookAtStatus(); }));
  walk.Restore();
  return true;
}

// Whoever shows the status window may end the check by it.
void TfrmImportGrid::LookAtStatus() {
  if (status_.Visible()) status_.SetPosition(status_.Position());
}

// What the check found, and before that of the same pass what the sheet says of cells that are as they were.
// All source rows are shown and posted. Where it is ended, the faults are those that were.
void TfrmImportGrid::TakeFaults(std::vector<ImportFault> found) {
  const auto look = [this] { LookAtStatus(); };
  RecordFaults taken;
  taken.Assign(WithSheetFaults(std::move(found)), source_, look);
  std::swap(faults_, taken);
  try {
    PaintFaults(look);
  } catch (...) {
    faults_ = std::move(taken);
    PaintFaults();
    throw;
  }
  ShowFaultTexts();
}

void TfrmImportGrid::ShowFaultTexts() {
  columns_.at(kErrMsgPosition).visible = true;
  view_.FormChanged(*this);
  view_.FaultsChanged(*this);
}

bool TfrmImportGrid::HasValueOf(const ImportFault& fault, const RecordRow& row) const {
  const std::size_t cell = row.IndexOf(fields_[fault.column].field_name);
  return row.AsTextView(cell) == CutToCharacters(fault.value, source_.Definition(cell).size);
}

// Both are in the order of their places.
std::vector<ImportFault> TfrmImportGrid::WithSheetFaults(std::vector<ImportFault> found) {
  std::vector<ImportFault> of_sheet;
  std::size_t looked_at = 0;
  const auto look = [&] {
    if (++looked_at % kImportRowsBetween == 0) LookAtStatus();
  };
  for (const ImportFault& fault : sheet_faults_.All()) {
    look();
    if (HasValueOf(fault, source_.Table()[fault.row - 1])) of_sheet.push_back(fault);
  }
  if (of_sheet.empty()) return found;
  const auto place = [](const ImportFault& f) { return std::tie(f.row, f.column, f.pass); };
  std::vector<ImportFault> faults;
  faults.reserve(of_sheet.size() + found.size());
  auto sheet = of_sheet.begin();
  for (auto checked = found.begin(); sheet != of_sheet.end() || checked != found.end();) {
    look();
    const bool sheet_first =
        checked == found.end() || (sheet != of_sheet.end() && place(*sheet) <= place(*checked));
    ImportFault& next = sheet_first ? *sheet++ : *checked++;
    if (faults.empty() || place(faults.back()) != place(next)) faults.push_back(std::move(next));
  }
  return faults;
}

// The position of a data column; behind all where there is none.
std::size_t TfrmImportGrid::DataColumn(std::string_view field_name) const {
  std::size_t column = kFirstDataPosition;
  while (column < fields_.size() &&
         !(fields_[column].IsDefined() && SameName(fields_[column].field_name, field_name))) {
    ++column;
  }
  return std::min(column, fields_.size());
}

void TfrmImportGrid::SetRefusedCells(std::span<const ImportRefusal> cells) {
  source_.PostPending();
  std::vector<ImportFault> faults(faults_.All().begin(), faults_.All().end());
  for (const ImportRefusal& cell : cells) {
    const std::size_t column = DataColumn(cell.field_name);
    if (column == fields_.size() || cell.row < 1 || cell.row > source_.Table().size()) continue;
    const RecordRow row = source_.Table()[cell.row - 1];
    faults.push_back(
        {cell.row, column, ImportPass::kStore, row.AsText(row.IndexOf(cell.field_name)), cell.reason});
  }
  faults_.Assign(std::move(faults), source_);
  PaintFaults();
}

// The working columns of all rows. The mark of the last pass stays where that is uniqueness.
// `reached` is called every kImportRowsBetween rows.
void TfrmImportGrid::PaintFaults(const std::function<void()>& reached) {
  std::size_t last = fields_.size();
  while (last > 0 && !fields_[last - 1].IsDefined()) --last;
  const std::span<const ImportFault> faults = faults_.All();
  auto fault = faults.begin();
  std::string message;
  const ControlsGuard controls(source_);
  for (std::size_t row = 1; row <= source_.Table().size(); ++row) {
    if (reached && row % kImportRowsBetween == 0) reached();
    message.clear();
    bool marked = false;
    const bool clean = fault == faults.end() || fault->row != row;
    for (; fault != faults.end() && fault->row == row; ++fault) {
      message += FaultFragment(*fault, fields_[fault->column]);
      marked = fault->pass == ImportPass::kUnique && fault->column + 1 == last;
    }
    source_.Mark(row, kVTempPosition, marked);
    source_.Mark(row, kValidacijaPosition, clean);
    source_.Mark(row, kErrMsgPosition, message);
  }
  if (source_.IsFiltered()) source_.SetFiltered(true);  // which may go by the marks
}

// --- the rows ---

template <typename Action>
void TfrmImportGrid::ForEachSourceRow(Action action) {
  WholeSetWalk walk(source_);
  for (source_.First(); !source_.Eof(); source_.Next()) action();
  walk.Restore();
}

void TfrmImportGrid::AddFault(std::string_view fragment) {
  std::string text(source_.AsTextView(kErrMsgPosition));
  text += fragment;
  source_.SetText(kErrMsgPosition, text);
  source_.SetBoolean(kValidacijaPosition, false);
}

void TfrmImportGrid::ResetVTemp() {
  ForEachSourceRow([&] {
    source_.Edit();
    source_.SetBoolean(kVTempPosition, false);
    source_.Post();
  });
}

std::string TfrmImportGrid::GetFieldValues(std::string_view field_name) {
  return ValuesToAskFor(field_name).list;
}

ImportValues TfrmImportGrid::ValuesToAskFor(std::string_view field_name) {
  source_.PostPending();
  return ValuesOf(source_.Table(), field_name);
}

// --- one column alone ---

void TfrmImportGrid::Validate(std::size_t index, std::string_view service_name) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  const ColumnRules rules(field);
  const auto runs = [&](ImportPass pass) {
    ShowPass(field, pass);
    ResetVTemp();
    return rules.Has(pass);
  };
  if (runs(ImportPass::kRequired)) ValidateRequired(index);
  if (runs(ImportPass::kLookup)) ValidateLookup(index, service_name);
  if (runs(ImportPass::kFormat)) ValidateFormat(index);
  if (runs(ImportPass::kUnique)) ValidateUnique(index, service_name);
}

void TfrmImportGrid::ValidateRequired(std::size_t index) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  const std::size_t value = source_.FieldByName(field.field_name).Index();
  ForEachSourceRow([&] {
    if (!source_.AsTextView(value).empty()) return;
    source_.Edit();
    AddFault(" Req:" + field.field_name);
    source_.SetBoolean(kVTempPosition, false);
    source_.Post();
  });
}

void TfrmImportGrid::ValidateLookup(std::size_t index, std::string_view service_name) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  ColumnRules rules(field);
  rules.SetStored(ImportPass::kLookup,
                  AskServer(field.lookup_sql, ValuesToAskFor(field.field_name), service_name));
  const std::size_t value = source_.FieldByName(field.field_name).Index();
  ForEachSourceRow([&] {
    const std::string text(source_.AsTextView(value));
    const bool known = rules.IsKnown(text);
    if (!known && (text.empty() || source_.AsBoolean(kVTempPosition))) return;
    source_.Edit();
    if (known) {
      source_.SetBoolean(kVTempPosition, true);
    } else {
      AddFault(" Lookup:" + field.field_name + ":" + text);
    }
    source_.Post();
  });
}

void TfrmImportGrid::ValidateUnique(std::size_t index, std::string_view service_name) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  ColumnRules rules(field);
  rules.SetStored(ImportPass::kUnique,
                  AskServer(field.unique_sql, ValuesToAskFor(field.field_name), service_name));
  const std::size_t value = source_.FieldByName(field.field_name).Index();
  ForEachSourceRow([&] {
    if (!rules.IsTaken(source_.AsTextView(value)) && !source_.AsBoolean(kVTempPosition)) return;
    source_.Edit();
    source_.SetBoolean(kVTempPosition, true);
    AddFault(" Jedinstven:" + field.field_name);
    source_.Post();
  });
}

void TfrmImportGrid::ValidateFormat(std::size_t index) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  const ColumnRules rules(field);
  const std::size_t from = source_.FieldByName(field.field_name).Index();
  const std::size_t to = target_.FieldByName(field.field_name).Index();
  const bool required = rules.Has(ImportPass::kRequired);
  const bool first = index == kFirstDataPosition;
  target_.First();
  ForEachSourceRow([&] {
    const bool skipped = source_.IsNull(from) && !required;
    if (first) {
      target_.Append();
    } else if (!skipped) {
      target_.Edit();
    }
    if (!skipped && !rules.Store(source_.AsTextView(from), target_, to).empty()) {
      source_.Edit();
      AddFault(" Format:" + field.field_name);
      source_.SetBoolean(kVTempPosition, false);
      source_.Post();
    }
    if (first || !skipped) target_.Post();
    target_.Next();
  });
}

}  // namespace mox
