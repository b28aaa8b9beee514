#include "appserver/codebook_services.h"

#include <algorithm>
#include <deque>
#include <optional>

#include "appserver/codebook.h"
#include "appserver/fold.h"
#include "mox/foundation/text.h"

// What is read of codebooks.

namespace mox {
namespace {

// A '%' in the text is one.
std::string LikePattern(const std::string& text) {
  std::string pattern = "%";
  for (const char c : text) {
    if (c == '%' || c == '_' || c == '\\') pattern += '\\';
    pattern += c;
  }
  return pattern + '%';
}

// The text in its spellings, each with the parameter that looks for a part of a text.
struct Searched {
  explicit Searched(const std::string& text) : keys(FoldKeys(text)) {}

  // Which of the expressions holds it.
  std::string In(std::span<const std::string> expressions) const {
    std::string condition;
    for (std::size_t k = 0; k < keys.size(); ++k) {
      for (const std::string& expression : expressions) {
        condition += (condition.empty() ? "" : " OR ") + ("fold(" + expression + ")") + " LIKE :dio" +
                     std::to_string(k) + " ESCAPE '\\'";
      }
    }
    return condition.empty() ? "1 = 0" : condition;
  }
  void AddPatterns(std::vector<Value>& values) const {
    for (const std::string& key : keys) values.emplace_back(LikePattern(key));
  }
  // Nothing is found in an index that keeps texts apart by this letter.
  bool FitsIndex() const {
    return std::none_of(keys.begin(), keys.end(), [](const std::string& key) {
      return key.empty() || key.find('\x1f') != std::string::npos;
    });
  }

  std::vector<std::string> keys;
};

std::vector<std::string> TextsOf(const CodebookShape& shape, std::string_view reference) {
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < shape.fields.size(); ++i) {
    if (shape.fields[i].kind != FieldKind::kText || shape.Rule(i).reference != reference) continue;
    texts.push_back(shape.expressions[i]);
  }
  return texts;
}

// The ids of rows of an index that hold the text.
std::string FoundIn(const Database& database, const SearchIndex& index, const Searched& searched,
                    const std::string& parameter, std::vector<Value>& values) {
  std::string sql;
  for (std::size_t k = 0; k < searched.keys.size(); ++k) {
    SearchQuery found = FindInIndex(database, index, searched.keys[k], parameter + std::to_string(k));
    sql += (sql.empty() ? "" : " UNION ALL ") + found.sql;
    values.insert(values.end(), found.values.begin(), found.values.end());
  }
  return sql;
}

constexpr std::size_t kMostBehind = 20'000;

// The ids of rows that a reference leads to and that hold the text, "1,2"; none where there are too many.
std::optional<std::string> FoundBehind(Database& database, const CodebookShape& shape, std::size_t field,
                                       const Searched& searched) {
  const std::string reference(shape.Rule(field).reference);
  const std::string alias = "r_" + reference;
  std::string where = " WHERE ";
  std::vector<Value> values;
  if (const Codebook* const codebook = FindCodebookOf(shape.tables[field])) {
    if (const auto index = SearchIndexOf(ShapeOf(database, *codebook))) {
      where += alias + ".id IN (" + FoundIn(database, *index, searched, "tekst", values) + ") AND ";
    }
  }
  searched.AddPatterns(values);
  RecordSet rows = database.Query("found", ParseColumns("id:integer"),
                                  "SELECT " + alias + ".id FROM " + shape.tables[field] + " " + alias +
                                      where + "(" + searched.In(TextsOf(shape, reference)) + ") LIMIT " +
                                      std::to_string(kMostBehind + 1),
                                  values);
  if (rows.RecordCount() > kMostBehind) return std::nullopt;
  std::string ids;
  for (const RecordRow& row : rows.Rows()) {
    ids += (ids.empty() ? "" : ",") + std::to_string(row.AsInteger(0));
  }
  return ids;
}

// Rows whose own texts the index finds, and rows that lead to one with the text; none where that is not
// quicker than reading all rows.
std::optional<std::string> FindByIndex(Database& database, const CodebookShape& shape,
                                       const Searched& searched, std::vector<Value>& values) {
  const auto index = SearchIndexOf(shape);
  if (!index || searched.keys.empty() || !searched.FitsIndex()) return std::nullopt;
  std::string found = FoundIn(database, *index, searched, "tekst", values);
  std::vector<std::string_view> seen;
  for (std::size_t i = 0; i < shape.fields.size(); ++i) {
    const std::string_view reference = shape.Rule(i).reference;
    const bool is_new = std::find(seen.begin(), seen.end(), reference) == seen.end();
    if (reference.empty() || shape.fields[i].kind != FieldKind::kText || !is_new) continue;
    seen.push_back(reference);
    const auto behind = FoundBehind(database, shape, i, searched);
    if (!behind) return std::nullopt;
    if (behind->empty()) continue;
    found += " UNION ALL SELECT t.id FROM " + std::string(shape.codebook->table) + " t WHERE t." +
             std::string(reference) + " IN (" + *behind + ")";
  }
  return "t.id IN (" + found + ")";
}

// Any text field that has the text, in any of its spellings.
std::string FindCondition(Database& database, const CodebookShape& shape, const std::string& text,
                          std::vector<Value>& values) {
  const Searched searched(text);
  if (const auto condition = FindByIndex(database, shape, searched, values)) return *condition;
  values.clear();
  searched.AddPatterns(values);
  std::vector<std::string> texts;
  for (std::size_t i = 0; i < shape.fields.size(); ++i) {
    if (shape.fields[i].kind == FieldKind::kText) texts.push_back(shape.expressions[i]);
  }
  return searched.In(texts);
}

// Numbered codes in the order in which they were given, others by their keys.
std::string Order(const CodebookShape& shape) {
  std::string order;
  if (shape.codebook->numbered.empty()) {
    for (const std::string_view name : shape.codebook->key) {
      order += shape.expressions[shape.IndexOf(name)] + " NULLS FIRST, ";
    }
  }
  return order + "t.id";
}

void FillCodebook(Database& database, const ServiceInputs& inputs, RecordSet& answer) {
  const CodebookShape shape = ShapeOf(database, *FindCodebook(answer.Name()));
  answer = EmptyAnswer(shape);
  std::vector<Value> values;
  std::string rest;
  if (!inputs.IsNull("trazi")) {
    rest = "WHERE (" + FindCondition(database, shape, inputs.As<std::string>("trazi"), values) + ") ";
  }
  rest += "ORDER BY " + Order(shape);
  const auto count = [&](std::string_view name, std::int64_t otherwise) {
    const std::int64_t number = inputs.IsNull(name) ? otherwise : inputs.As<std::int64_t>(name);
    if (number < 0) throw Error("input \"" + std::string(name) + "\" must not be below 0");
    return number;
  };
  rest += " LIMIT :najvise OFFSET :preskoci";
  values.emplace_back(count("najvise", INT64_MAX));
  values.emplace_back(count("preskoci", 0));
  AppendRows(database, shape, rest, values, answer);
}

std::string Joined(std::span<const std::string_view> names) {
  std::string joined;
  for (const std::string_view name : names) joined.append(joined.empty() ? "" : ";").append(name);
  return joined;
}

void FillCodebooks(Database& /*database*/, const ServiceInputs& /*inputs*/, RecordSet& answer) {
  for (const Codebook& codebook : CodebookTable()) {
    answer.AppendRecord({std::string(codebook.name), std::string(codebook.summary), Joined(codebook.key)});
  }
}

void FillColumns(Database& database, const ServiceInputs& /*inputs*/, RecordSet& answer) {
  for (const Codebook& codebook : CodebookTable()) {
    const CodebookShape shape = ShapeOf(database, codebook);
    for (std::size_t i = 0; i < shape.fields.size(); ++i) {
      const FieldDef& field = shape.fields[i];
      const Codebook* const of = FindCodebookOf(shape.tables[i]);
      answer.AppendRecord(
          {std::string(codebook.name), field.name, field.display_name, std::string(KindName(field.kind)),
           field.kind == FieldKind::kText ? Value(static_cast<std::int64_t>(field.size)) : Value(),
           field.required && field.name != codebook.numbered,
           of == nullptr ? Value() : Value(std::string(of->name))});
    }
  }
}

std::vector<NamedService> MakeServices() {
  static std::deque<std::string> names;
  std::vector<NamedService> services = {
      {"Kat\\Sifarnici",
       Right::kRead,
       "",
       "the codebooks and their columns",
       {{"adsSifarnici", "sifarnik,opis,kljuc", "", FillCodebooks},
        {"adsStupci", "sifarnik,stupac,naziv,vrsta,velicina:integer,obavezan:boolean,iz", "", FillColumns}}}};
  for (const Codebook& codebook : CodebookTable()) {
    services.push_back({names.emplace_back("Kat\\" + std::string(codebook.name)),
                        Right::kRead,
                        "trazi?:text,preskoci?:integer,najvise?:integer",
                        codebook.summary,
                        {{codebook.name, "", "", FillCodebook}}});
  }
  return services;
}

}  // namespace

std::span<const NamedService> CodebookServices() {
  static const std::vector<NamedService> services = MakeServices();
  return services;
}

}  // namespace mox
