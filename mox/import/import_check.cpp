#include <string>
#include <unordered_set>
#include <utility>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/import/import_grid.h"
#include "mox/import/import_profiles.h"
#include "mox/import/import_walk_internal.h"
#include "mox/server/param_list.h"

namespace mox {
namespace {

constexpr std::string_view kService = "ImportGrid";

bool IsSet(const std::string& flag) { return ToBoolean(flag); }

// Look-ups compare without regard to letter case and to blanks at the ends.
std::string LookupKey(std::string_view text) { return FoldCase(TrimBlanks(text)); }

// Uniqueness compares without regard to the case of the letters a to z only, and with all blanks.
std::string UniqueKey(std::string_view text) {
  std::string key(text);
  for (char& c : key) {
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - ('a' - 'A'));
  }
  return key;
}

// Stores a source text in a field of the target set; a kind that no conversion is known for stores nothing.
// False where the text is no such value.
bool StoreConverted(RecordSet& target, std::size_t field, std::string_view type, std::string_view text) {
  try {
    if (type == field_type::kText) {
      target.SetText(field, text);
    } else if (type == field_type::kFloat) {
      const auto number = ParseLocaleNumber(text, CurrentLocale());
      if (!number) return false;
      target.SetFloat(field, *number);
    } else if (type == field_type::kBoolean) {
      target.SetBoolean(field, ToBoolean(std::string(text)));
    } else if (type == field_type::kDate) {
      const auto date = ParseLocaleDate(text, CurrentLocale());
      if (!date) return false;
      target.SetDate(field, *date);
    }
    return true;
  } catch (const ConversionError&) {
    return false;
  } catch (const Overflow&) {
    return false;
  }
}

}  // namespace

// --- the rows ---

template <typename Action>
void TfrmImportGrid::ForEachSourceRow(Action action) {
  const WholeSetWalk walk(source_);
  for (source_.First(); !source_.Eof(); source_.Next()) action();
}

void TfrmImportGrid::AddFault(std::string_view fragment) {
  std::string text(source_.AsTextView(kErrMsgPosition));
  text += fragment;
  source_.SetText(kErrMsgPosition, text);
  source_.SetBoolean(kValidacijaPosition, false);
}

void TfrmImportGrid::ResetFaults() {
  ForEachSourceRow([&] {
    source_.Edit();
    source_.SetBoolean(kValidacijaPosition, true);
    source_.SetText(kErrMsgPosition, "");
    source_.Post();
  });
}

bool TfrmImportGrid::IsClean() {
  bool clean = true;
  ForEachSourceRow([&] { clean = clean && source_.AsBoolean(kValidacijaPosition); });
  return clean;
}

void TfrmImportGrid::ResetVTemp() {
  ForEachSourceRow([&] {
    source_.Edit();
    source_.SetBoolean(kVTempPosition, false);
    source_.Post();
  });
  v_temp_marked_ = false;
}

// --- the button ---

void TfrmImportGrid::ProvjeraIUvozClick() {
  constexpr std::string_view kHeading = "Uvoz podataka";
  modal_result_ = kMrNone;
  const std::optional<bool> clean = CheckAllRows();
  if (!clean) {
    ShowVelorDialog(TVCustomDialogType::kError, "Upozorenje", kHeading, "Nema podataka za obradu!");
    modal_result_ = kMrCancel;
    return;
  }
  const ImportProfile* const profile = FindImportProfile(profile_key_);
  if (profile != nullptr && profile->overwrites_mail) {
    ShowVelorDialog(TVCustomDialogType::kInformation, "Upozorenje", kHeading,
                    "Postojeće eRačun e-mail adrese će biti prepisane!");
  }
  if (!*clean) {
    ShowVelorDialog(TVCustomDialogType::kError, "Upozorenje", kHeading, "Pronađene su greške u podacima!");
    return;
  }
  const int answer = ShowVelorDialog(TVCustomDialogType::kConfirmation, "Potvrda", kHeading,
                                     "Podaci su provjereni i ispravni. Nastavak rada?");
  if (answer == kDialogYes && profile != nullptr) {
    const RecordSet* const stored[] = {&target_};
    ExecuteTransaction(profile->transaction, stored);
  }
  modal_result_ = provjera_i_uvoz_button_.modal_result;
}

// Whether all rows are in order; none where there are no rows.
std::optional<bool> TfrmImportGrid::CheckAllRows() {
  if (!source_.IsActive()) return std::nullopt;
  const WholeSetWalk walk(source_);
  source_.First();  // posts a record that was left open, drops one that nobody touched
  if (source_.IsEmpty()) return std::nullopt;
  target_.Clear();
  ResetFaults();
  {
    const auto count = static_cast<std::int64_t>(fields_.size());
    const StatusWindow status(status_, "Provjera podataka", count - 4);
    v_temp_marked_ = true;
    for (std::size_t i = kFirstDataPosition; i < fields_.size(); ++i) {
      status_.SetPosition(static_cast<std::int64_t>(i));
      ValidateColumn(i, kService);
    }
    columns_.at(kErrMsgPosition).visible = true;
    view_.FormChanged(*this);
  }
  return IsClean();
}

// --- one column ---

void TfrmImportGrid::Validate(std::size_t index, std::string_view service_name) {
  v_temp_marked_ = true;
  ValidateColumn(index, service_name);
}

void TfrmImportGrid::ValidateColumn(std::size_t index, std::string_view service_name) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  const auto begin_pass = [&](const char* what) {
    status_.SetText(std::string("Provjera ") + what + " podataka [" + field.caption + "]");
    status_.Refresh();
    if (v_temp_marked_) ResetVTemp();
  };
  begin_pass("obaveznih");
  if (IsSet(field.required)) ValidateRequired(index);
  begin_pass("loookup");  // three o's, as the users know it
  // The next pass would take the marks away at once.
  if (IsSet(field.lookup)) LookUp(index, service_name, /*keeps_marks=*/false);
  begin_pass("formata");
  ValidateFormat(index);
  begin_pass("jedinstvenosti");
  if (IsSet(field.unique)) ValidateUnique(index, service_name);
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

std::string TfrmImportGrid::GetFieldValues(std::string_view field_name) {
  const std::size_t value = source_.FieldByName(field_name).Index();
  std::string values;
  bool found = false;
  ForEachSourceRow([&] {
    if (source_.IsNull(value)) return;
    if (std::exchange(found, true)) values += "','";
    values += source_.AsTextView(value);
  });
  return found ? values : "0";
}

void TfrmImportGrid::QueryValues(const ImportFieldDef& field, const std::string& sql,
                                 std::string_view service_name) {
  TAstaParamList request;
  request.FastAdd("params1", Value(sql));
  request.FastAdd("params2", Value(GetFieldValues(field.field_name)));
  const auto answer = App().Comunication().ReportDataService(request, service_name);
  if (answer == nullptr) throw Error(std::string(service_name) + ": the server gave no answer");
  lookup_result_.CleanClone(answer->ParamByName("adsList").AsDataSet());
}

// The answers of the server to a look-up, each turned into a key.
template <typename Key>
std::unordered_set<std::string> TfrmImportGrid::KnownKeys(const ImportFieldDef& field, Key key) {
  std::unordered_set<std::string> known;
  if (lookup_result_.IsEmpty()) return known;
  const std::size_t answer = lookup_result_.FieldByName(field.field_name).Index();
  known.reserve(lookup_result_.RecordCount());
  for (lookup_result_.First(); !lookup_result_.Eof(); lookup_result_.Next()) {
    known.insert(key(lookup_result_.AsText(answer)));
  }
  return known;
}

void TfrmImportGrid::ValidateLookup(std::size_t index, std::string_view service_name) {
  LookUp(index, service_name, /*keeps_marks=*/true);
}

void TfrmImportGrid::LookUp(std::size_t index, std::string_view service_name, bool keeps_marks) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  QueryValues(field, field.lookup_sql, service_name);
  const auto known = KnownKeys(field, LookupKey);
  const std::size_t value = source_.FieldByName(field.field_name).Index();
  ForEachSourceRow([&] {
    const std::string_view text = source_.AsTextView(value);
    if (known.contains(LookupKey(text))) {
      if (!keeps_marks) return;
      source_.Edit();
      source_.SetBoolean(kVTempPosition, true);
      source_.Post();
    } else if (!text.empty() && !source_.AsBoolean(kVTempPosition)) {
      source_.Edit();
      AddFault(" Lookup:" + field.field_name + ":" + std::string(text));
      source_.Post();
    }
  });
  v_temp_marked_ = v_temp_marked_ || keeps_marks;
}

void TfrmImportGrid::ValidateUnique(std::size_t index, std::string_view service_name) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  QueryValues(field, field.unique_sql, service_name);
  const auto known = KnownKeys(field, UniqueKey);
  const std::size_t value = source_.FieldByName(field.field_name).Index();
  ForEachSourceRow([&] {
    const bool found = known.contains(UniqueKey(source_.AsTextView(value)));
    if (!found && !source_.AsBoolean(kVTempPosition)) return;
    source_.Edit();
    source_.SetBoolean(kVTempPosition, true);
    AddFault(" Jedinstven:" + field.field_name);
    source_.Post();
  });
  v_temp_marked_ = true;
}

void TfrmImportGrid::ValidateFormat(std::size_t index) {
  const ImportFieldDef& field = fields_.at(index);
  if (!field.IsDefined()) return;
  const std::size_t from = source_.FieldByName(field.field_name).Index();
  const std::size_t to = target_.FieldByName(field.field_name).Index();
  const bool required = IsSet(field.required);
  target_.First();
  ForEachSourceRow([&] {
    const bool skipped = source_.IsNull(from) && !required;
    const bool first = index == kFirstDataPosition;
    if (first) {
      target_.Append();
    } else if (!skipped) {
      target_.Edit();
    }
    if (!skipped && !StoreConverted(target_, to, field.field_type, source_.AsTextView(from))) {
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
