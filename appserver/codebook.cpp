#include "appserver/codebook.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <limits>

#include "appserver/fold.h"
#include "mox/codes/control_digits.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/record_tools/record_tools.h"
#include "mox/validations/validations.h"

namespace mox {
namespace {

// What the codes that are numbered on have in common, as in the index on them.
std::string RunningCodes(std::string_view name) {
  const std::string column(name);
  return "LENGTH(" + column + ") > 0 AND LENGTH(" + column + ") < 8 AND TRIM(" + column +
         ", '0123456789') = ''";
}

// Of the shown values, so that whoever changed any of them changes it.
std::string VersionOf(const RecordRow& row, std::size_t fields) {
  std::uint64_t hash = 14695981039346656037ULL;  // FNV-1a
  std::string text;
  for (std::size_t i = 0; i < fields; ++i) {
    const Value value = row.AsVariant(i);
    if (row.IsNull(i)) {
      text += '-';
    } else if (const auto* const given = std::get_if<std::string>(&value)) {
      AppendCounted(text, *given);
    } else {
      std::string plain;
      AppendPlain(plain, value);
      AppendCounted(text, plain);
    }
  }
  for (const char c : text) {
    hash ^= static_cast<unsigned char>(c);
    hash *= 1099511628211ULL;
  }
  char shown[17];
  std::snprintf(shown, sizeof shown, "%016llx", static_cast<unsigned long long>(hash));
  return shown;
}

const FieldDef& RequireColumn(const Columns& columns, std::string_view table, std::string_view name) {
  if (const FieldDef* const column = FindColumn(columns, name)) return *column;
  throw Error("the table \"" + std::string(table) + "\" has no column \"" + std::string(name) + "\"");
}

struct NumberRange {
  FieldCheck check;
  double most;
  bool is_whole;
  const char* told;
};

constexpr double kMostDays = 3650;  // of which due dates are counted
constexpr NumberRange kRanges[] = {
    {FieldCheck::kNotNegative, std::numeric_limits<double>::max(), false, "must not be negative"},
    {FieldCheck::kDays, kMostDays, true, "must be whole days from 0 to 3650"},
    {FieldCheck::kPercent, 100, false, "must be a percent from 0 to 100"},
};

std::string RangeFault(FieldCheck check, const Value& value) {
  for (const NumberRange& range : kRanges) {
    if (range.check != check) continue;
    const double number = ToFloat(value);
    const bool fits = number >= 0 && number <= range.most;
    if (!fits || (range.is_whole && std::trunc(number) != number)) return range.told;
  }
  return {};
}

}  // namespace

std::size_t CodebookShape::IndexOf(std::string_view field) const {
  for (std::size_t i = 0; i < fields.size(); ++i) {
    if (SameName(fields[i].name, field)) return i;
  }
  throw Error(std::string(codebook->name) + " has no column \"" + std::string(field) + "\"");
}

CodebookShape ShapeOf(Database& database, const Codebook& codebook) {
  const std::string table(codebook.table);
  CodebookShape shape;
  shape.codebook = &codebook;
  shape.from = table + " t";
  const Columns own = database.TableColumns(table);
  const std::vector<Reference> references = database.References(table);
  for (const CodebookField& field : codebook.fields) {
    const bool is_own = field.reference.empty();
    const std::string_view column_name = is_own ? field.name : field.reference;
    const FieldDef& column = RequireColumn(own, table, column_name);
    FieldDef shown = column;
    std::string alias = "t";
    shape.tables.emplace_back();
    if (!is_own) {
      const auto same = [&](const Reference& reference) { return reference.column == field.reference; };
      const auto found = std::find_if(references.begin(), references.end(), same);
      if (found == references.end())
        throw Error(table + "." + std::string(column_name) + " refers to nothing");
      shape.tables.back() = found->table;
      shown = RequireColumn(database.TableColumns(found->table), found->table, field.column);
      alias = "r_" + std::string(field.reference);
      const std::string join = " LEFT JOIN " + found->table + " " + alias + " ON ";
      if (shape.from.find(join) == std::string::npos) {
        shape.from += join + alias + "." + found->key + " = t." + std::string(field.reference);
      }
    }
    shape.expressions.push_back(alias + "." + std::string(is_own ? field.name : field.column));
    shown.name = field.name;
    shown.required = column.required && !field.has_default;
    shown.display_name = field.label;
    shape.fields.push_back(std::move(shown));
  }
  return shape;
}

std::optional<SearchIndex> SearchIndexOf(const CodebookShape& shape) {
  const Codebook& codebook = *shape.codebook;
  if (codebook.search_index.empty()) return std::nullopt;
  SearchIndex index{std::string(codebook.search_index), std::string(codebook.table), {}};
  for (std::size_t i = 0; i < shape.fields.size(); ++i) {
    const bool is_own_text = shape.Rule(i).reference.empty() && shape.fields[i].kind == FieldKind::kText;
    if (is_own_text) index.columns.push_back(shape.fields[i].name);
  }
  return index;
}

RecordSet EmptyAnswer(const CodebookShape& shape) {
  RecordSet answer{std::string(shape.codebook->name)};
  for (const FieldDef& field : shape.fields) answer.DefineField(field);
  answer.DefineField(kVersionField, FieldKind::kText);
  answer.Open();
  return answer;
}

void AppendRows(Database& database, const CodebookShape& shape, std::string_view rest,
                std::span<const Value> values, RecordSet& answer) {
  std::string sql = "SELECT ";
  for (const std::string& expression : shape.expressions) sql += expression + ", ";
  sql += "NULL FROM " + shape.from + ' ' + std::string(rest);
  Columns columns = shape.fields;
  columns.push_back({.name = std::string(kVersionField)});
  const RecordSet rows = database.Query("rows", columns, sql, values);
  std::vector<Value> values_of_row(columns.size());
  for (const RecordRow& row : rows.Rows()) {
    for (std::size_t i = 0; i < shape.fields.size(); ++i) values_of_row[i] = row.AsVariant(i);
    values_of_row.back() = VersionOf(row, shape.fields.size());
    answer.AppendRecord(values_of_row);
  }
}

std::string PlainText(const Value& value) {
  if (const auto* const text = std::get_if<std::string>(&value)) return *text;
  std::string plain;
  AppendPlain(plain, value);
  return plain;
}

std::string KeyOf(const CodebookShape& shape, const RecordSet& records) {
  std::string key;
  for (const std::string_view name : shape.codebook->key) {
    const auto field = records.FindFieldIndex(name);
    key += name == shape.codebook->key.front() ? "" : ";";
    if (field) key += PlainText(records.AsVariant(*field));
  }
  return key;
}

// --- numbers and unique columns ---

CodeNumbering::CodeNumbering(Database& database, const Codebook& codebook)
    : taken_(database, codebook, codebook.numbered),
      highest_(database.Prepare(
          "SELECT " + std::string(codebook.numbered) + " FROM " + std::string(codebook.table) + " WHERE " +
              RunningCodes(codebook.numbered) + " ORDER BY CAST(" + std::string(codebook.numbered) +
              " AS BIGINT) DESC, LENGTH(" + std::string(codebook.numbered) + ") DESC LIMIT 1",
          {})) {}

std::string CodeNumbering::Highest() {
  RecordSet highest;
  highest.DefineField("sifra", FieldKind::kText);
  highest.Open();
  highest_.ExecuteInto(highest);
  return highest.AsText(0);
}

std::string CodeNumbering::Next() {
  std::string code = Highest();
  do {
    code = NextCode(code);
  } while (taken_.Find(code));
  return code;
}

UniqueCheck::UniqueCheck(Database& database, const Codebook& codebook, std::string_view column)
    : database_(database),
      codebook_(codebook),
      column_(column),
      find_(database.Prepare("SELECT id FROM " + std::string(codebook.table) + " WHERE fold(" + column_ +
                                 ") = :key AND id <> :own ORDER BY id LIMIT 1",
                             {FieldKind::kText, FieldKind::kInteger})) {}

std::optional<std::int64_t> UniqueCheck::Find(const std::string& text, std::int64_t own_id) {
  if (TrimBlanks(text).empty()) return std::nullopt;
  RecordSet found;
  found.DefineField("id", FieldKind::kInteger);
  found.Open();
  for (const std::string& key : FoldKeys(text)) {
    find_.BindText(0, key);
    find_.Bind(1, Value(own_id));
    find_.ExecuteInto(found);
  }
  if (found.IsEmpty()) return std::nullopt;
  return found.RowAt(0).AsInteger(0);
}

std::string UniqueCheck::Refusal(std::int64_t id) const {
  const CodebookShape shape = ShapeOf(database_, codebook_);
  RecordSet row = EmptyAnswer(shape);
  AppendRows(database_, shape, "WHERE t.id = :id", std::vector<Value>{id}, row);
  row.First();
  return "is that of " + std::string(codebook_.name) + " \"" + KeyOf(shape, row) + '"';
}

std::string FaultOf(FieldCheck check, const Value& value) {
  const auto* const given = std::get_if<std::string>(&value);
  if (given == nullptr) return RangeFault(check, value);
  const std::string& text = *given;
  std::string fault;
  switch (check) {
    default:
      break;
    case FieldCheck::kOib:
      fault = CheckOIBvalidity(text);
      break;
    case FieldCheck::kIban:
      if (!CheckIBANvalidity(text)) fault = "the IBAN is not valid";
      break;
    case FieldCheck::kPhone:
      fault = TelefonFaxFault(text);
      break;
    case FieldCheck::kEmail:
      fault = EmailFault(text);
      break;
    case FieldCheck::kFiscalName:
      fault = FiskalniNazivFault(text);
      break;
  }
  if (const std::size_t at = fault.find("\r\n"); at != std::string::npos) fault.replace(at, 2, " ");
  return fault;
}

}  // namespace mox
