#include "cli/service_request.h"

#include <algorithm>
#include <utility>

#include "cli/suggestions.h"
#include "mox/foundation/exchange_text.h"
#include "mox/foundation/text.h"
#include "mox/server/read_services.h"

namespace mox {
namespace {

std::string KindInCapitals(FieldKind kind) {
  std::string name(KindName(kind));
  std::transform(name.begin(), name.end(), name.begin(),
                 [](char c) { return static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c); });
  return name;
}

// " skl_id=INTEGER [val_ozn=TEXT]".
std::string Shown(const ServiceInfo& service, std::string_view value) {
  std::string shown;
  for (const DeclaredInput& input : ParseDeclaredInputs(service.inputs)) {
    const std::string word =
        input.name + "=" + (value.empty() ? KindInCapitals(input.kind) : std::string(value));
    shown += input.may_be_left_out ? " [" + word + "]" : " " + word;
  }
  return shown;
}

FieldDef FieldOf(const RecordRow& row, std::string_view name) {
  FieldDef field{.name = row.AsText(row.IndexOf(name))};
  KindFromName(row.AsText(row.IndexOf("vrsta")), field.kind);
  return field;
}

}  // namespace

Value InputValue(const FieldDef& input, const std::string& text) {
  if (input.kind == FieldKind::kText) {
    if (!IsValidUtf8(text)) throw UsageError(input.name + ": the text is not valid UTF-8");
    return text;
  }
  try {
    return ParsePlain(text, input.kind);
  } catch (const Error& error) {
    throw UsageError(input.name + ": " + error.what());
  }
}

CompanyAccess& ServerOf(const Session& session) {
  if (session.server == nullptr) throw UsageError("--db is required: the company database");
  return *session.server;
}

Columns TableColumns(std::string_view table) {
  Columns columns;
  const auto rows =
      CreateDBDataSet("Kat\\StupciTablice", "adsStupci", {{"tablica", Value(std::string(table))}});
  if (!rows) return columns;
  for (const RecordRow& row : rows->Rows()) columns.push_back(FieldOf(row, "stupac"));
  return columns;
}

Columns TransactionFields(std::string_view transaction, std::string_view record_set) {
  Columns fields;
  const auto rows = CreateDBDataSet("Kat\\PoljaTransakcije", "adsPolja",
                                    {{"transakcija", Value(std::string(transaction))}});
  if (!rows) return fields;
  for (const RecordRow& row : rows->Rows()) {
    if (row.AsText(row.IndexOf("skup")) == record_set) fields.push_back(FieldOf(row, "polje"));
  }
  return fields;
}

RecordSet AnswerOf(std::string_view service, std::string_view answer_name, const TAstaParamList& request) {
  if (auto records = CreateDBDataSet(service, answer_name, request)) return std::move(*records);
  throw Error(std::string(service) + ": the answer does not hold " + std::string(answer_name));
}

void ListServices(std::span<const ServiceInfo> services, std::string_view value, std::string& out) {
  for (const ServiceInfo& service : services) {
    out += std::string(service.name) + Shown(service, value) + "\n    " + std::string(service.summary) + "\n";
  }
}

const ServiceInfo& FindService(std::string_view what, std::span<const ServiceInfo> services,
                               std::string_view name) {
  if (const ServiceInfo* const service = FindRow(services, name)) return *service;
  throw UsageError(ThereIsNo(what, name, NamesOf(services)));
}

std::vector<NamedValue> NamedValues(std::span<const std::string> words) {
  ValuesAndFiles split = SplitWords(words);
  if (split.paths.empty()) return std::move(split.values);
  throw UsageError("\"" + split.paths.front() + "\" is not of the form NAME=VALUE");
}

std::vector<NamedValue> ValuesFor(const ServiceInfo& service, std::span<const std::string> words) {
  const std::vector<DeclaredInput> inputs = ParseDeclaredInputs(service.inputs);
  const std::string label(service.name);
  std::vector<NamedValue> values = NamedValues(words);
  for (auto value = values.begin(); value != values.end(); ++value) {
    const auto is_it = [value](const auto& other) { return SameName(other.name, value->name); };
    if (std::none_of(inputs.begin(), inputs.end(), is_it)) {
      throw UsageError(label + " has no input \"" + value->name + "\"");
    }
    if (std::any_of(values.begin(), value, is_it)) throw UsageError(value->name + " is given twice");
  }
  for (const DeclaredInput& input : inputs) {
    const auto is_it = [&input](const NamedValue& value) { return SameName(value.name, input.name); };
    if (!input.may_be_left_out && std::none_of(values.begin(), values.end(), is_it)) {
      throw UsageError(label + ": " + input.name + "= is required");
    }
  }
  return values;
}

TAstaParamList RequestFor(const ServiceInfo& service, std::span<const std::string> words) {
  const std::vector<NamedValue> values = ValuesFor(service, words);
  TAstaParamList request;
  for (const DeclaredInput& input : ParseDeclaredInputs(service.inputs)) {
    if (const std::string* const text = FindValue(values, input.name)) {
      request.FastAdd(input.name, InputValue(input, *text));
    }
  }
  return request;
}

void RequireStored(const CompanyAccess& server, bool stored) {
  if (stored) return;
  const WriteOutcome& outcome = server.LastWrite();
  throw Error(outcome.failure ? outcome.failure->ToString() : "the server refused the transaction");
}

}  // namespace mox
