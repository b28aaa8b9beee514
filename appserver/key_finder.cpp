#include "appserver/key_finder.h"

#include <algorithm>
#include <unordered_set>

#include "appserver/fold.h"
#include "appserver/table_writer.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

constexpr std::size_t kShownValue = 100;  // characters

std::string QualifiedName(std::string_view column) {
  return (column.find('.') == std::string_view::npos ? "t." : "") + std::string(column);
}

// A number as a text of digits, and with all zeros in front that the column has room for.
std::vector<Value> DigitKeys(double number, std::size_t size) {
  std::vector<Value> keys;
  for (std::string text = ShortestNumber(number); keys.empty() || text.size() <= size;
       text.insert(0, 1, '0')) {
    keys.emplace_back(text);
  }
  return keys;
}

// Each spelling of each part with each of the others; of parts that have any.
std::vector<std::vector<Value>> Spellings(const std::vector<std::vector<Value>>& keys) {
  std::vector<std::vector<Value>> all = {{}};
  for (const std::vector<Value>& of_part : keys) {
    if (of_part.empty()) continue;
    std::vector<std::vector<Value>> longer;
    for (const std::vector<Value>& begun : all) {
      for (const Value& key : of_part) {
        longer.push_back(begun);
        longer.back().push_back(key);
      }
    }
    all = std::move(longer);
  }
  return all;
}

bool IsNumber(FieldKind kind) { return kind == FieldKind::kFloat || kind == FieldKind::kCurrency; }
void MakeNumber(Value& key) { key = ToFloat(key); }

// Which rows are found by some columns of the key, and which of them first.
struct RowConditions {
  // `same` holds where the column has the key's value.
  void Add(Fit fit, std::string_view column, const std::string& same) {
    const std::string name(column);
    if (fit == Fit::kPreferred) {
      order += "CASE WHEN " + same + " THEN 0 ELSE 1 END, ";
      return;
    }
    where += where.empty() ? "" : " AND ";
    where += fit == Fit::kSame ? same : '(' + same + " OR " + name + " IS NULL)";
    if (fit == Fit::kSameOrNone) order += "CASE WHEN " + name + " IS NULL THEN 1 ELSE 0 END, ";
  }

  std::string where = {};
  std::string order = {};
};

}  // namespace

bool IsBlank(const RecordRow& record, std::size_t field) {
  return record.IsNull(field) ||
         (record.Definition(field).kind == FieldKind::kText && TrimBlanks(record.AsTextView(field)).empty());
}

KeyFinder::KeyFinder(Database& database, const RecordSet& records, const KeyRule& rule)
    : database_(database), set_name_(records.Name()), rule_(rule) {
  const Columns columns = database.TableColumns(rule.table);
  for (const KeyPart& part : rule.parts) {
    const auto field = records.FindFieldIndex(part.field);
    if (!field) continue;
    FieldDef column{.name = QualifiedName(part.column)};
    for (const FieldDef& known : columns) {
      if (known.name != part.column) continue;
      column.kind = known.kind;
      column.size = known.size;
    }
    parts_.push_back({&part, *field, std::move(column)});
  }
}

std::vector<Value> KeyFinder::KeysOf(const RecordRow& record, const Part& part) {
  if (IsBlank(record, part.field)) return {};
  if (part.column.kind != FieldKind::kText) return {record.AsVariant(part.field)};
  if (record.Definition(part.field).kind == FieldKind::kFloat) {
    return DigitKeys(record.AsFloat(part.field), part.column.size);
  }
  std::vector<Value> keys;
  for (std::string& key : FoldKeys(record.AsText(part.field))) keys.emplace_back(std::move(key));
  if (keys.empty()) throw ConversionError("the text holds a NUL character, which a database does not store");
  return keys;
}

Statement KeyFinder::Prepare(const Keys& keys) const {
  RowConditions found;
  std::vector<FieldKind> kinds;
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    if (keys[i].empty()) continue;
    const FieldDef& column = parts_[i].column;
    const bool is_text = column.kind == FieldKind::kText;
    std::string same = (is_text ? "fold(" + column.name + ')' : column.name) + " IN (";
    for (std::size_t k = 0; k < keys[i].size(); ++k) {
      same += (k == 0 ? ":p" : ", :p") + std::to_string(kinds.size());
      kinds.push_back(column.kind);
    }
    same += ')';
    found.Add(parts_[i].rule->fit, column.name, same);
  }
  found.order += rule_.first_by.empty() ? "t.id" : rule_.first_by;
  return database_.Prepare("SELECT t.id FROM " + std::string(rule_.table) + " t " + std::string(rule_.join) +
                               " WHERE " + found.where + " ORDER BY " + found.order + " LIMIT 2",
                           kinds);
}

// At most two.
std::vector<std::int64_t> KeyFinder::Ask(const Keys& keys) {
  std::vector<std::size_t> counts;
  for (const std::vector<Value>& of_part : keys) counts.push_back(of_part.size());
  auto prepared = statements_.find(counts);
  if (prepared == statements_.end()) prepared = statements_.emplace(counts, Prepare(keys)).first;
  std::size_t parameter = 0;
  for (const std::vector<Value>& of_part : keys) {
    for (const Value& key : of_part) prepared->second.Bind(parameter++, key);
  }
  RecordSet answer;
  answer.DefineField("id", FieldKind::kInteger);
  answer.Open();
  prepared->second.ExecuteInto(answer);
  std::vector<std::int64_t> ids;
  for (const RecordRow& row : answer.Rows()) ids.push_back(row.AsInteger(0));
  return ids;
}

void KeyFinder::Refuse(const RecordRow& record, std::size_t row, std::string_view found) const {
  std::string values;
  std::string_view field;
  for (const Part& part : parts_) {
    if (part.rule->fit == Fit::kPreferred || IsBlank(record, part.field)) continue;
    if (field.empty()) field = part.rule->field;
    values += (values.empty() ? "" : " and ") + std::string(part.rule->field) + " \"" +
              std::string(CutToCharacters(record.AsText(part.field), kShownValue)) + '"';
  }
  throw WriteRefused({"", set_name_, row, std::string(field),
                      std::string(rule_.table) + " has " + std::string(found) + " with " + values});
}

// What a record is looked up by; false where it has nothing.
bool KeyFinder::TakeValues(const RecordRow& record) {
  values_.clear();
  bool is_blank = true;
  for (const Part& part : parts_) {
    const bool is_text = record.Definition(part.field).kind == FieldKind::kText;
    values_.append(is_text ? record.AsTextView(part.field) : record.AsText(part.field)) += '\0';
    if (part.rule->fit == Fit::kSame) is_blank = is_blank && IsBlank(record, part.field);
  }
  return !is_blank;
}

std::optional<std::int64_t> KeyFinder::Find(const RecordRow& record, std::size_t row) {
  if (!TakeValues(record)) return std::nullopt;
  if (const auto known = known_.find(values_); known != known_.end()) return known->second;

  Keys keys;
  for (const Part& part : parts_) keys.push_back(KeysOf(record, part));
  const std::vector<std::int64_t> ids = Ask(keys);
  if (ids.empty() && !rule_.may_be_unknown) Refuse(record, row, "no row");
  if (ids.size() > 1 && rule_.first_by.empty()) Refuse(record, row, "several rows");
  const std::optional<std::int64_t> id = ids.empty() ? std::nullopt : std::optional(ids.front());
  known_.emplace(values_, id);
  return id;
}

// --- many at once ---

void KeyFinder::Foresee(const RecordSet& records, std::size_t begin, std::size_t end) {
  const auto is_asked = [](const Part& part) {
    return part.column.kind == FieldKind::kText || IsNumber(part.column.kind);
  };
  if (!std::all_of(parts_.begin(), parts_.end(), is_asked)) return;
  std::map<std::vector<bool>, Wanted> by_shape;
  std::unordered_set<std::string> asked;
  for (std::size_t row = begin; row < end; ++row) {
    const RecordRow& record = records.RowAt(row);
    if (!TakeValues(record) || known_.contains(values_) || !asked.insert(values_).second) continue;
    Keys keys;
    std::vector<bool> shape;
    try {
      for (const Part& part : parts_) {
        std::vector<Value>& of_part = keys.emplace_back(KeysOf(record, part));
        if (IsNumber(part.column.kind)) std::for_each(of_part.begin(), of_part.end(), MakeNumber);
        shape.push_back(!of_part.empty());
      }
    } catch (const ConversionError&) {
      continue;  // told when it is looked for itself
    }
    Wanted& wanted = by_shape[shape];
    wanted.values.push_back(values_);
    wanted.keys.push_back(std::move(keys));
  }
  for (const auto& [shape, wanted] : by_shape) {
    for (std::size_t next = 0; next < wanted.values.size();) next = AskSome(wanted, next);
  }
}

// A thousand, as long as there is room for their spellings. Those that are found as Find() would find them
// are known from then on.
std::size_t KeyFinder::AskSome(const Wanted& wanted, std::size_t begin) {
  constexpr std::size_t kMost = 1000;
  constexpr std::size_t kMostParameters = 20'000;
  std::string rows;
  std::vector<Value> values;
  std::size_t end = begin;
  for (; end < wanted.values.size() && end - begin < kMost && values.size() < kMostParameters; ++end) {
    for (const std::vector<Value>& spelling : Spellings(wanted.keys[end])) {
      rows.append(rows.empty() ? "(" : ", (").append(std::to_string(end));
      for (const Value& key : spelling) {
        values.push_back(key);
        const bool is_number = std::holds_alternative<double>(key);
        rows.append(", CAST(:p").append(std::to_string(values.size()));
        rows.append(is_number ? " AS DOUBLE PRECISION)" : " AS TEXT)");
      }
      rows += ')';
    }
  }
  const RecordSet found = database_.Query("found", ParseColumns("n:integer,id:integer"),
                                          QueryOf(wanted.keys[begin], rows), values);
  std::map<std::int64_t, std::vector<std::int64_t>> ids;
  for (const RecordRow& row : found.Rows()) {
    std::vector<std::int64_t>& of_one = ids[row.AsInteger(0)];
    if (of_one.empty() || of_one.front() != row.AsInteger(1)) of_one.push_back(row.AsInteger(1));
  }
  for (const auto& [at, of_one] : ids) {
    const bool is_clear = of_one.size() == 1 || !rule_.first_by.empty();
    if (is_clear) known_.emplace(wanted.values[static_cast<std::size_t>(at)], of_one.front());
  }
  return end;
}

std::string KeyFinder::QueryOf(const Keys& shape, const std::string& rows) const {
  RowConditions found{.order = "w.column1, "};
  std::size_t column = 1;
  for (std::size_t i = 0; i < parts_.size(); ++i) {
    if (shape[i].empty()) continue;
    const std::string& name = parts_[i].column.name;
    const bool is_number = IsNumber(parts_[i].column.kind);
    const std::string same =
        (is_number ? name : "fold(" + name + ")") + " = w.column" + std::to_string(++column);
    found.Add(parts_[i].rule->fit, name, same);
  }
  found.order += rule_.first_by.empty() ? "t.id" : rule_.first_by;
  return "SELECT w.column1, t.id FROM (VALUES " + rows + ") AS w CROSS JOIN " + std::string(rule_.table) +
         " t " + std::string(rule_.join) + " WHERE " + found.where + " ORDER BY " + found.order;
}

}  // namespace mox
