#include "appserver/read_service.h"

#include <algorithm>

#include "appserver/service_inputs.h"
#include "appserver/sql_text.h"
#include "mox/foundation/text.h"
#include "mox/foundation/value_conversion.h"

namespace mox {
namespace {

std::string Quoted(std::string_view text) { return '"' + std::string(text) + '"'; }

RecordSet RunQuery(const ServiceAnswer& answer, Database& database, const ServiceInputs& inputs) {
  RecordSet records{std::string(answer.name)};
  const Columns columns = AnswerColumns(answer, database);
  for (const FieldDef& column : columns) records.DefineField(column);
  if (!columns.empty()) records.Open();
  if (answer.fill != nullptr) {
    answer.fill(database, inputs, records);
    records.First();
    return records;
  }

  const std::vector<std::string> names = FindParameters(answer.sql).names;
  std::vector<FieldKind> kinds;
  kinds.reserve(names.size());
  for (const std::string& name : names) kinds.push_back(inputs.KindOf(name));
  Statement statement = database.Prepare(answer.sql, kinds);
  for (std::size_t i = 0; i < names.size(); ++i) {
    if (inputs.IsNull(names[i])) {
      statement.BindNull(i);
    } else {
      statement.Bind(i, inputs[names[i]]);
    }
  }
  statement.ExecuteInto(records);
  if (!records.IsEmpty()) records.First();
  return records;
}

}  // namespace

Columns AnswerColumns(const ServiceAnswer& answer, Database& database) {
  const bool whole_table = answer.columns.starts_with('*');
  return whole_table ? database.TableColumns(answer.columns.substr(1)) : ParseColumns(answer.columns);
}

ServiceInputs::ServiceInputs(std::string_view declared, const TAstaParamList& request,
                             const CompanyData& company)
    : company_(company) {
  for (const ServiceInput& input : ParseInputs(declared)) {
    const TAstaParam* const given = request.FindParam(input.name);
    Value value;
    try {
      if (given != nullptr) value = ConvertTo(input.kind, given->AsVariant());
    } catch (const Error& error) {
      throw Error("input " + Quoted(input.name) + ": " + error.what());
    }
    if (!input.may_be_left_out && std::holds_alternative<std::monostate>(value)) {
      throw Error("input " + Quoted(input.name) + " is missing");
    }
    inputs_.push_back({input.name, input.kind, std::move(value)});
  }
  for (std::size_t i = 0; i < request.Count(); ++i) {
    const std::string& name = request[i].Name();
    Find(name);
    if (request.FindParam(name) != &request[i]) throw Error("input " + Quoted(name) + " is given twice");
  }
}

const ServiceInputs::Input& ServiceInputs::Find(std::string_view name) const {
  const auto same = [name](const Input& input) { return SameName(input.name, name); };
  const auto found = std::find_if(inputs_.begin(), inputs_.end(), same);
  if (found == inputs_.end()) throw Error("there is no input " + Quoted(name));
  return *found;
}

const Value& ServiceInputs::operator[](std::string_view name) const { return Find(name).value; }

FieldKind ServiceInputs::KindOf(std::string_view name) const { return Find(name).kind; }

void ServiceInputs::Derive(std::string_view name, FieldKind kind, Value value) {
  inputs_.push_back({std::string(name), kind, std::move(value)});
}

std::unique_ptr<TAstaParamList> RunReadService(const ReadService& service, Database& database,
                                               const TAstaParamList& request, const CompanyData& company) {
  ServiceInputs inputs(service.inputs, request, company);
  if (service.prepare != nullptr) service.prepare(database, inputs);
  auto answers = std::make_unique<TAstaParamList>();
  for (const ServiceAnswer& answer : service.answers) {
    answers->FastAdd(answer.name, RunQuery(answer, database, inputs));
  }
  return answers;
}

}  // namespace mox
