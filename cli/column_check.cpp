#include "cli/column_check.h"

#include <algorithm>
#include <optional>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

bool IsNumberKind(FieldKind kind) {
  return kind == FieldKind::kCurrency || kind == FieldKind::kFloat || kind == FieldKind::kInteger;
}

std::optional<FieldKind> UsualKind(std::string_view name) {
  const auto known = FindInVocabulary(name);
  if (!known) return std::nullopt;
  return kVocabulary[static_cast<std::size_t>(*known)].kind;
}

// One record, with 1 in every number.
RecordSet RecordOfOnes(const std::vector<FieldDef>& fields) {
  RecordSet records;
  for (const FieldDef& field : fields) records.DefineField(field.name, field.kind);
  records.Open();
  records.Append();
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (IsNumberKind(fields[i].kind)) records.SetFloat(i, 1);
  }
  records.Post();
  return records;
}

// The fields that are used and not among the given ones, which they join.
std::vector<std::string> FindMissing(std::vector<FieldDef>& fields,
                                     const std::function<void(RecordSet&)>& apply) {
  std::vector<std::string> missing;
  const auto is_known = [&fields](const std::string& name) {
    return std::any_of(fields.begin(), fields.end(),
                       [&](const FieldDef& field) { return SameName(field.name, name); });
  };
  for (;;) {
    RecordSet records = RecordOfOnes(fields);
    try {
      apply(records);
      return missing;
    } catch (const FieldNotFound& error) {
      if (is_known(error.field())) return missing;
      FieldDef field;
      field.name = error.field();
      field.kind = UsualKind(field.name).value_or(FieldKind::kText);
      fields.push_back(std::move(field));
      missing.push_back(error.field());
    } catch (const Error&) {
      return missing;  // what the values are refused for shows in the records themselves
    }
  }
}

// Whether a text of the column is read as a number, also where the column may be left out.
bool IsReadAsNumber(const FieldDef& text, std::vector<FieldDef> fields,
                    const std::function<void(RecordSet&)>& apply) {
  fields.push_back(text);
  RecordSet records = RecordOfOnes(fields);
  records.Edit();
  records.SetText(fields.size() - 1, "?");
  records.Post();
  try {
    apply(records);
  } catch (const ConversionError&) {
    return true;
  } catch (const Error&) {
    return false;
  }
  return false;
}

}  // namespace

bool HoldsNoNumbers(const FieldDef& field) {
  const auto usual = UsualKind(field.name);
  return usual && IsNumberKind(*usual) && !IsNumberKind(field.kind);
}

std::string NoNumbersText(const FieldDef& field) {
  const FieldKind kind = UsualKind(field.name).value_or(FieldKind::kCurrency);
  return field.name + ": the column holds no numbers but " + std::string(KindName(field.kind)) +
         "; its header can say " + field.name + ":" + std::string(KindName(kind));
}

void RequireColumns(const RecordSet& records, std::span<const std::string_view> names) {
  std::string missing;
  std::size_t count = 0;
  for (const std::string_view name : names) {
    if (const auto field = records.FindFieldIndex(name)) {
      const FieldDef& column = records.Definition(*field);
      if (HoldsNoNumbers(column)) throw Error(records.Name() + ": " + NoNumbersText(column));
      continue;
    }
    missing += (++count == 1 ? "\"" : ", \"") + std::string(name) + "\"";
  }
  if (count == 0) return;
  throw Error(records.Name() + (count == 1 ? ": field " : ": fields ") + missing + " not found");
}

void RequireColumnsOf(RecordSet& records, const std::function<void(RecordSet&)>& apply) {
  std::vector<FieldDef> usable;
  std::vector<FieldDef> numberless;
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    const FieldDef& field = records.Definition(i);
    (HoldsNoNumbers(field) ? numberless : usable).push_back(field);
  }
  const std::vector<std::string> used = FindMissing(usable, apply);
  RequireColumns(records, std::vector<std::string_view>(used.begin(), used.end()));
  for (const FieldDef& field : numberless) {
    if (field.kind == FieldKind::kText && IsReadAsNumber(field, usable, apply)) {
      throw Error(records.Name() + ": " + NoNumbersText(field));
    }
  }
}

}  // namespace mox
