#include "appserver/codebook_services.h"

#include <deque>

#include "appserver/codebook.h"
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

// Any text field that has the text, in any of its spellings.
std::string FindCondition(const CodebookShape& shape, const std::string& text, std::vector<Value>& values) {
  std::string condition;
  const std::vector<std::string> keys = FoldKeys(text);
  for (std::size_t k = 0; k < keys.size(); ++k) {
    const std::string parameter = ":trazi" + std::to_string(k);
    values.emplace_back(LikePattern(keys[k]));
    for (std::size_t i = 0; i < shape.fields.size(); ++i) {
      if (shape.fields[i].kind != FieldKind::kText) continue;
      condition += (condition.empty() ? "" : " OR ") + ("fold(" + shape.expressions[i] + ")") + " LIKE " +
                   parameter + " ESCAPE '\\'";
    }
  }
  return condition.empty() ? "1 = 0" : condition;
}

// Numbered codes in the order in which they were given, others by their keys.
std::string Order(const CodebookShape& shape) {
  std::string order;
  if (shape.codebook->numbered.empty()) {
    for (const std::string_view name : shape.codebook->key) {
      order += shape.expressions[shape.IndexOf(name)] + ", ";
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
    rest = "WHERE (" + FindCondition(shape, inputs.As<std::string>("trazi"), values) + ") ";
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

std::vector<ReadService> MakeServices() {
  static std::deque<std::string> names;
  std::vector<ReadService> services = {
      {"Kat\\Sifarnici",
       "",
       "the codebooks and their columns",
       {{"adsSifarnici", "sifarnik,opis,kljuc", "", FillCodebooks},
        {"adsStupci", "sifarnik,stupac,naziv,vrsta,velicina:integer,obavezan:boolean,iz", "", FillColumns}}}};
  for (const Codebook& codebook : CodebookTable()) {
    services.push_back({names.emplace_back("Kat\\" + std::string(codebook.name)),
                        "trazi?:text,preskoci?:integer,najvise?:integer",
                        codebook.summary,
                        {{codebook.name, "", "", FillCodebook}}});
  }
  return services;
}

}  // namespace

std::span<const ReadService> CodebookServices() {
  static const std::vector<ReadService> services = MakeServices();
  return services;
}

}  // namespace mox
