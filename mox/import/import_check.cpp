#include "mox/import/import_check.h"

#include <algorithm>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/import/import_check_internal.h"

namespace mox {
namespace {

constexpr ImportPass kPasses[] = {ImportPass::kRequired, ImportPass::kLookup, ImportPass::kFormat,
                                  ImportPass::kUnique};

std::size_t IndexOf(ImportPass pass) { return static_cast<std::size_t>(pass); }

FieldKind KindOf(const ImportFieldDef& field) {
  switch (ParseInteger(field.field_type)) {
    case 1:
      return FieldKind::kText;
    case 3:
      return FieldKind::kInteger;
    case 5:
      return FieldKind::kBoolean;
    case 6:
      return FieldKind::kFloat;
    case 9:
      return FieldKind::kDate;
    default:
      throw Error(field.field_name + ": there is no kind of field with the code " + field.field_type);
  }
}

std::size_t SizeOf(const ImportFieldDef& field) {
  const std::int64_t size = ParseInteger(field.size);
  if (size < 0) throw Error(field.field_name + ": a field cannot have the size " + field.size);
  return static_cast<std::size_t>(size);
}

constexpr std::string_view kSeparator = "','";

// A list that is taken apart again at its separators, from its front, does not give this value back, or not
// the one behind it.
bool FallsApart(std::string_view list, std::string_view value) {
  constexpr std::string_view kBeginning = kSeparator.substr(0, 2);
  return value.find(kSeparator) != std::string_view::npos || value.ends_with(kBeginning) ||
         list.ends_with(kBeginning);
}

// Those of several fields, by one walk.
std::vector<ImportValues> ValuesOfFields(const RecordTable& rows, const std::vector<std::size_t>& fields,
                                         ImportLookups* told = nullptr) {
  constexpr std::size_t kRowsToJudge = 1000;
  std::vector<ImportValues> values(fields.size());
  for (std::size_t number = 0; number < rows.size(); ++number) {
    if (number == kRowsToJudge) {  // what all will take, so that a long list is not copied as it grows
      for (auto& [list, apart] : values) list.reserve(list.size() / kRowsToJudge * rows.size() * 9 / 8);
    }
    if (told != nullptr && (number + 1) % kImportRowsBetween == 0) told->Reached(number + 1);
    const RecordRow row = rows[number];
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const std::string_view text = row.AsTextView(fields[i]);
      if (text.empty() && row.IsNull(fields[i])) continue;
      auto& [list, apart] = values[i];
      if (FallsApart(list, text)) apart.append(apart.empty() ? "" : "\n").append(text);
      list.append(kSeparator).append(text);
    }
  }
  for (auto& [list, apart] : values) {
    if (list.empty()) {
      list = "0";
    } else {
      list.erase(0, kSeparator.size());
    }
  }
  return values;
}

}  // namespace

std::string FaultFragment(const ImportFault& fault, const ImportFieldDef& field) {
  switch (fault.pass) {
    case ImportPass::kRequired:
      return " Req:" + field.field_name;
    case ImportPass::kLookup:
      return " Lookup:" + field.field_name + ":" + fault.value;
    case ImportPass::kFormat:
      return " Format:" + field.field_name;
    case ImportPass::kStore:
      return " Pohrana:" + field.field_name;
    case ImportPass::kUnique:
      break;
  }
  return " Jedinstven:" + field.field_name;
}

std::string UniqueKey(std::string_view text) {
  std::string key(text.size(), '\0');
  CopyUniqueKey(text, key.data());
  return key;
}

RecordSet TypedRows(std::span<const ImportFieldDef> profile) {
  RecordSet set("adsForDBSave");
  for (const ImportFieldDef& field : profile) {
    if (field.IsDefined()) set.DefineField(field.field_name, KindOf(field), SizeOf(field));
  }
  if (set.FieldCount() > 0) set.Open();
  return set;
}

ImportValues ValuesOf(const RecordTable& rows, std::string_view field_name) {
  return std::move(ValuesOfFields(rows, {rows.IndexOf(field_name)}).front());
}

// --- the questions ---

ImportCheck::ImportCheck(std::span<const ImportFieldDef> profile, const RecordTable& rows, RecordSet& typed)
    : profile_(profile), rows_(rows), typed_(typed) {}

void ImportCheck::Ask(ImportLookups& lookups) {
  columns_.clear();
  for (std::size_t i = kFirstDataPosition; i < profile_.size(); ++i) {
    lookups.BeginColumn(i);
    const ImportFieldDef& field = profile_[i];
    if (!field.IsDefined()) continue;
    columns_.push_back({.position = i,
                        .from = rows_.IndexOf(field.field_name),
                        .to = typed_.FieldByName(field.field_name).Index(),
                        .is_required = false,
                        .runs = {},
                        .rules = ColumnRules(field),
                        .hash = 0});
    AskColumn(columns_.back(), lookups);
  }
  values_ = {};
}

// At the first question the values of all columns that there may be questions about are joined.
ImportValues ImportCheck::ValuesOf(const Column& column, ImportLookups& lookups) {
  if (values_.empty()) {
    std::vector<std::size_t> positions;
    std::vector<std::size_t> fields;
    for (std::size_t i = column.position; i < profile_.size(); ++i) {
      const ImportFieldDef& field = profile_[i];
      const auto index = rows_.Find(field.field_name);
      if (!index || (field.lookup_sql.empty() && field.unique_sql.empty() && i != column.position)) continue;
      positions.push_back(i);
      fields.push_back(*index);
    }
    std::vector<ImportValues> joined = ValuesOfFields(rows_, fields, &lookups);
    values_.resize(profile_.size());
    for (std::size_t i = 0; i < positions.size(); ++i) values_[positions[i]] = std::move(joined[i]);
  }
  const ImportValues& values = values_[column.position];
  return values.list.empty() ? mox::ValuesOf(rows_, column.rules.field().field_name) : values;
}

void ImportCheck::AskColumn(Column& column, ImportLookups& lookups) {
  const ImportFieldDef& field = column.rules.field();
  for (const ImportPass pass : kPasses) {
    lookups.BeginPass(field, pass);
    if (!column.rules.Has(pass)) continue;
    if (pass == ImportPass::kRequired) column.is_required = true;
    if (pass == ImportPass::kLookup || pass == ImportPass::kUnique) {
      const std::string& sql = pass == ImportPass::kLookup ? field.lookup_sql : field.unique_sql;
      column.rules.SetStored(pass, lookups.Find(field, sql, ValuesOf(column, lookups)));
    }
    column.runs[IndexOf(pass)] = true;
  }
}

// --- the rows ---

std::vector<ImportFault> ImportCheck::Run(const std::function<void(std::size_t)>& reached) {
  std::vector<ImportFault> faults;
  const bool makes_rows = !columns_.empty() && columns_.front().runs[IndexOf(ImportPass::kFormat)];
  looked_up_.clear();
  for (std::size_t i = 0; i < columns_.size(); ++i) {
    if (columns_[i].runs[IndexOf(ImportPass::kLookup)]) looked_up_.push_back(i);
  }
  for (std::size_t number = 1; number <= rows_.size(); ++number) {
    if (reached && number % kImportRowsBetween == 0) reached(number);
    const RecordRow row = rows_[number - 1];
    FetchKnown(row);
    if (makes_rows) typed_.Append();
    CheckRow(row, number, faults);
    if (makes_rows) typed_.Post();
  }
  return faults;
}

// What look-ups read lies anywhere in memory: it is asked for early, for all of them at once.
void ImportCheck::FetchKnown(const RecordRow& row) {
  for (const std::size_t i : looked_up_) {
    Column& column = columns_[i];
    column.hash = column.rules.Known().AskForSlot(row.AsTextView(column.from));
  }
  for (const std::size_t i : looked_up_) columns_[i].rules.Known().AskForText(columns_[i].hash);
}

void ImportCheck::CheckRow(const RecordRow& row, std::size_t number, std::vector<ImportFault>& faults) {
  for (const Column& column : columns_) {
    const std::string_view text = row.AsTextView(column.from);
    const bool null = text.empty() && row.IsNull(column.from);
    const ColumnRules& rules = column.rules;
    const auto add_for = [&](ImportPass pass, std::string reason) {
      faults.push_back({number, column.position, pass, std::string(text), std::move(reason)});
    };
    const auto add = [&](ImportPass pass) { add_for(pass, std::string(ReasonOf(pass, rules.field()))); };
    const auto runs = [&](ImportPass pass) { return column.runs[IndexOf(pass)]; };
    if (runs(ImportPass::kRequired) && text.empty()) add(ImportPass::kRequired);
    if (runs(ImportPass::kLookup) && !text.empty() && !rules.IsKnown(text, column.hash))
      add(ImportPass::kLookup);
    // An empty cell that need not be filled is not converted.
    const bool converts = runs(ImportPass::kFormat) && (!null || column.is_required);
    if (converts) {
      std::string reason = rules.Store(text, typed_, column.to);
      if (!reason.empty()) add_for(ImportPass::kFormat, std::move(reason));
    }
    if (runs(ImportPass::kUnique) && rules.IsTaken(text)) add(ImportPass::kUnique);
  }
}

CheckedImport CheckImport(std::span<const ImportFieldDef> profile, const RecordSet& rows,
                          ImportLookups& lookups) {
  CheckedImport checked{TypedRows(profile), {}};
  ImportCheck check(profile, rows.Table(), checked.rows);
  check.Ask(lookups);
  checked.faults = check.Run();
  return checked;
}

}  // namespace mox
