#include "appserver/named_service.h"

#include "appserver/sql_text.h"

namespace mox {
namespace {

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

std::unique_ptr<TAstaParamList> RunNamedService(const NamedService& service, Database& database,
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
