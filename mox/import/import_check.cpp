#include "mox/import/import_check.h"

#include <algorithm>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "mox/import/import_rules_internal.h"
#include "mox/import/import_walk_internal.h"

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

}  // namespace

RecordSet TypedRows(std::span<const ImportFieldDef> profile) {
  RecordSet set("adsForDBSave");
  for (const ImportFieldDef& field : profile) {
    if (field.IsDefined()) set.DefineField(field.field_name, KindOf(field), SizeOf(field));
  }
  if (set.FieldCount() > 0) set.Open();
  return set;
}

std::string JoinedValues(RecordSet& rows, std::string_view field_name) {
  const std::size_t value = rows.FieldByName(field_name).Index();
  std::string values;
  bool found = false;
  const WholeSetWalk walk(rows);
  for (rows.First(); !rows.Eof(); rows.Next()) {
    const std::string_view text = rows.AsTextView(value);
    if (text.empty() && rows.IsNull(value)) continue;
    if (std::exchange(found, true)) values += "','";
    values += text;
  }
  return found ? values : "0";
}

// --- the questions ---

ImportCheck::ImportCheck(std::span<const ImportFieldDef> profile, RecordSet& rows, RecordSet& typed)
    : profile_(profile), rows_(rows), typed_(typed) {}

void ImportCheck::Ask(ImportLookups& lookups) {
  columns_.clear();
  for (std::size_t i = kFirstDataPosition; i < profile_.size(); ++i) {
    lookups.BeginColumn(i);
    const ImportFieldDef& field = profile_[i];
    if (!field.IsDefined()) continue;
    columns_.push_back({.position = i,
                        .from = rows_.FieldByName(field.field_name).Index(),
                        .to = typed_.FieldByName(field.field_name).Index(),
                        .is_required = false,
                        .runs = {},
                        .rules = ColumnRules(field)});
    AskColumn(columns_.back(), lookups);
  }
}

void ImportCheck::AskColumn(Column& column, ImportLookups& lookups) {
  const ImportFieldDef& field = column.rules.field();
  for (const ImportPass pass : kPasses) {
    lookups.BeginPass(field, pass);
    if (!column.rules.Has(pass)) continue;
    if (pass == ImportPass::kRequired) column.is_required = true;
    if (pass == ImportPass::kLookup || pass == ImportPass::kUnique) {
      const std::string& sql = pass == ImportPass::kLookup ? field.lookup_sql : field.unique_sql;
      column.rules.SetStored(pass, lookups.Find(field, sql, JoinedValues(rows_, field.field_name)));
    }
    column.runs[IndexOf(pass)] = true;
  }
}

// --- the rows ---

std::vector<ImportFault> ImportCheck::Run() {
  std::vector<ImportFault> faults;
  const bool makes_rows = !columns_.empty() && columns_.front().runs[IndexOf(ImportPass::kFormat)];
  const WholeSetWalk walk(rows_);
  std::size_t row = 0;
  for (rows_.First(); !rows_.Eof(); rows_.Next()) {
    if (makes_rows) typed_.Append();
    CheckRow(++row, faults);
    if (makes_rows) typed_.Post();
  }
  return faults;
}

void ImportCheck::CheckRow(std::size_t row, std::vector<ImportFault>& faults) {
  for (const Column& column : columns_) {
    const std::string_view text = rows_.AsTextView(column.from);
    const bool null = text.empty() && rows_.IsNull(column.from);
    const ColumnRules& rules = column.rules;
    const auto add = [&](ImportPass pass) {
      faults.push_back({row, column.position, pass, std::string(text), ReasonOf(pass, rules.field())});
    };
    const auto runs = [&](ImportPass pass) { return column.runs[IndexOf(pass)]; };
    if (runs(ImportPass::kRequired) && text.empty()) add(ImportPass::kRequired);
    if (runs(ImportPass::kLookup) && !text.empty() && !rules.IsKnown(text)) add(ImportPass::kLookup);
    // An empty cell that need not be filled is not converted.
    const bool converts = runs(ImportPass::kFormat) && (!null || column.is_required);
    if (converts && !rules.Store(text, typed_, column.to).empty()) add(ImportPass::kFormat);
    if (runs(ImportPass::kUnique) && rules.IsTaken(text)) add(ImportPass::kUnique);
  }
}

CheckedImport CheckImport(std::span<const ImportFieldDef> profile, RecordSet& rows, ImportLookups& lookups) {
  CheckedImport checked{TypedRows(profile), {}};
  ImportCheck check(profile, rows, checked.rows);
  check.Ask(lookups);
  checked.faults = check.Run();
  return checked;
}

}  // namespace mox
