#include "appserver/import_catalogue.h"

#include <algorithm>
#include <map>
#include <optional>
#include <unordered_map>
#include <unordered_set>

#include "appserver/fold.h"
#include "appserver/known_texts.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"
#include "mox/import/import_profiles.h"

namespace mox {
namespace {

constexpr std::string_view kSeparator = "','";
constexpr std::size_t kShownSql = 200;  // characters of a refused text

void Split(std::string_view values, std::string_view separator, std::vector<std::string_view>& split) {
  for (std::size_t at; (at = values.find(separator)) != std::string_view::npos;) {
    split.push_back(values.substr(0, at));
    values.remove_prefix(at + separator.size());
  }
  split.push_back(values);
}

std::vector<std::string_view> AllOf(const ImportValues& values) {
  std::vector<std::string_view> all;
  Split(values.list, kSeparator, all);
  if (!values.apart.empty()) Split(values.apart, "\n", all);
  return all;
}

// "25", "25.0", "25,00" and "1.250,50" as the shortest text with a decimal point; none for what is no number.
std::optional<std::string> NumberKey(std::string_view text) {
  std::string number(TrimBlanks(text));
  if (const std::size_t comma = number.rfind(','); comma != std::string::npos) {
    number.erase(std::remove(number.begin(), number.begin() + static_cast<std::ptrdiff_t>(comma), '.'),
                 number.begin() + static_cast<std::ptrdiff_t>(comma));
    number[number.find(',')] = '.';
  }
  try {
    return ShortestNumber(ParseNumber(number));
  } catch (const Error&) {
    return std::nullopt;
  }
}

// Digits without decimals that are all 0, which spreadsheets add: "1200,00" is "1200". Zeros in front stay.
std::string DigitsKey(std::string_view text) {
  text = TrimBlanks(text);
  const std::size_t end = text.find_last_not_of('0');
  const bool whole = end != std::string_view::npos && end > 0 && (text[end] == ',' || text[end] == '.') &&
                     text.find_first_not_of("0123456789") == end;
  return FoldKey(whole ? text.substr(0, end) : text);
}

// The keys that the database is asked for, each once, and for numbers the texts that asked for a key.
class AskedValues {
 public:
  AskedValues(const ImportValues& values, bool number_column, bool numeric) {
    for (const std::string_view value : AllOf(values)) {
      if (!numeric) {
        for (std::string& key : FoldKeys(value)) AddKey(std::move(key));
        continue;
      }
      std::optional<std::string> key = number_column ? NumberKey(value) : DigitsKey(value);
      if (!key) continue;
      AddKey(*key);
      std::vector<std::string_view>& texts = texts_[*key];
      if (std::find(texts.begin(), texts.end(), value) == texts.end()) texts.push_back(value);
    }
  }

  const std::vector<std::string>& keys() const { return keys_; }
  const std::vector<std::string_view>& TextsOf(const std::string& key) const {
    static const std::vector<std::string_view> none;
    const auto found = texts_.find(key);
    return found == texts_.end() ? none : found->second;
  }

 private:
  void AddKey(std::string key) {
    if (known_.insert(key).second) keys_.push_back(std::move(key));
  }

  std::vector<std::string> keys_;
  std::unordered_set<std::string> known_;
  std::unordered_map<std::string, std::vector<std::string_view>> texts_;
};

RecordSet OneColumn(std::string_view name, const std::string& column, FieldKind kind) {
  RecordSet records{std::string(name)};
  records.DefineField(column, kind);
  records.Open();
  return records;
}

FieldKind KindOfColumn(Database& database, const std::string& table, const std::string& column) {
  for (const FieldDef& field : database.TableColumns(table)) {
    if (SameName(field.name, column)) return field.kind;
  }
  throw Error("the database has no column \"" + table + "." + column + "\"");
}

bool IsIdentifier(std::string_view word) {
  return !word.empty() && word.find_first_not_of(
                              "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                              "0123456789_") == std::string_view::npos;
}

std::vector<std::string_view> SplitWords(std::string_view text) {
  std::vector<std::string_view> words;
  for (std::size_t end; !(text = TrimBlanks(text)).empty(); text.remove_prefix(end)) {
    end = std::min(text.find(' '), text.size());
    words.push_back(text.substr(0, end));
  }
  return words;
}

}  // namespace

ImportLookup ImportLookup::Parse(std::string_view sql, bool numeric) {
  const std::vector<std::string_view> words = SplitWords(sql);
  std::size_t at = 0;
  const auto is = [&](std::string_view keyword) { return at < words.size() && SameName(words[at], keyword); };
  bool well_formed = true;
  const auto expect = [&](std::string_view keyword) {
    well_formed = well_formed && is(keyword);
    ++at;
  };
  const auto identifier = [&](std::string_view word) {
    well_formed = well_formed && IsIdentifier(word);
    return std::string(word);
  };
  const auto next = [&] { return at < words.size() ? words[at++] : std::string_view(); };

  ImportLookup lookup;
  lookup.sql = sql;
  lookup.numeric = numeric;
  expect("select");
  lookup.selected = identifier(next());
  if (is("as")) ++at;
  lookup.answer = is("from") ? lookup.selected : identifier(next());
  expect("from");
  lookup.table = identifier(next());
  expect("where");
  std::string_view matched = next();
  if (matched.starts_with("upper(") && matched.ends_with(')'))
    matched = matched.substr(6, matched.size() - 7);
  lookup.matched = identifier(matched);
  expect("in");
  if (!well_formed || at != words.size()) throw Error("\"" + lookup.sql + "\" is no look-up");
  return lookup;
}

// Several profiles ask the same; where one of them does for a column of numbers, values are numbers.
ImportCatalogue::ImportCatalogue() {
  std::map<std::string, bool> numeric;
  for (const ImportProfile& profile : ImportProfiles()) {
    for (const ImportFieldDef& field : ImportFieldsOf(profile)) {
      if (!field.IsDefined()) continue;
      if (ToBoolean(field.lookup)) numeric[field.lookup_sql] |= field.field_type == field_type::kFloat;
      if (ToBoolean(field.unique)) numeric[field.unique_sql] |= field.field_type == field_type::kFloat;
    }
  }
  for (const auto& [sql, is_numeric] : numeric) Register(sql, is_numeric);
}

void ImportCatalogue::Register(std::string_view sql, bool numeric) {
  if (FindLookup(sql) != nullptr)
    throw Error("the look-up \"" + std::string(sql) + "\" is registered already");
  lookups_.push_back(ImportLookup::Parse(sql, numeric));
}

const ImportLookup* ImportCatalogue::FindLookup(std::string_view sql) const {
  const auto same = [sql](const ImportLookup& lookup) { return lookup.sql == sql; };
  const auto found = std::find_if(lookups_.begin(), lookups_.end(), same);
  return found == lookups_.end() ? nullptr : &*found;
}

const ImportLookup& ImportCatalogue::LookupOf(std::string_view sql) const {
  if (const ImportLookup* const lookup = FindLookup(sql)) return *lookup;
  throw Error("the SQL text is not in the catalogue: " + std::string(CutToCharacters(sql, kShownSql)));
}

RecordSet ImportCatalogue::Choices(Database& database, std::string_view sql, std::size_t most) const {
  const ImportLookup& lookup = LookupOf(sql);
  const FieldKind kind = KindOfColumn(database, lookup.table, lookup.selected);
  RecordSet values = OneColumn("choices", lookup.answer, kind);
  const std::string column = lookup.selected;
  database
      .Prepare("SELECT DISTINCT " + column + " FROM " + lookup.table + " WHERE " + column +
                   " IS NOT NULL ORDER BY " + column + " LIMIT " + std::to_string(most),
               {})
      .ExecuteInto(values);
  if (!values.IsEmpty()) values.First();
  return values;
}

RecordSet ImportCatalogue::Find(Database& database, std::string_view sql, const ImportValues& values) const {
  const ImportLookup& lookup = LookupOf(sql);
  const bool number_column = KindOfColumn(database, lookup.table, lookup.matched) != FieldKind::kText;
  const bool numeric = number_column || lookup.numeric;
  const AskedValues asked_values(values, number_column, numeric);

  RecordSet found = OneColumn("adsList", lookup.answer, number_column ? FieldKind::kFloat : FieldKind::kText);
  const auto sql_for = [&](std::size_t count) { return ImportLookupSql(lookup, !number_column, count); };
  QueryForKeys(database, sql_for, number_column ? FieldKind::kFloat : FieldKind::kText, asked_values.keys(),
               found);
  if (!found.IsEmpty()) found.First();
  if (!numeric) return found;

  RecordSet as_asked = OneColumn("adsList", lookup.answer, FieldKind::kText);
  for (const RecordRow& row : found.Rows()) {
    const std::string key = number_column ? ShortestNumber(row.AsFloat(0)) : FoldKey(row.AsTextView(0));
    for (const std::string_view text : asked_values.TextsOf(key)) as_asked.AppendRecord({std::string(text)});
  }
  if (!as_asked.IsEmpty()) as_asked.First();
  return as_asked;
}

std::string ImportLookupSql(const ImportLookup& lookup, bool folded, std::size_t values) {
  std::string sql = "SELECT " + lookup.selected + " FROM " + lookup.table + " WHERE ";
  sql += folded ? "fold(" + lookup.matched + ")" : lookup.matched;
  return sql + " IN (" + ParameterList(values) + ") ORDER BY " +
         (folded ? "fold(" + lookup.matched + ")" : lookup.matched) + ", id";
}

}  // namespace mox
