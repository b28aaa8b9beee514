#include "mox/server/transactions.h"

#include <utility>

#include "mox/foundation/app.h"
#include "mox/foundation/record_text.h"

namespace mox {

TAstaParamList WriteRequest(std::string_view transaction_name,
                            std::span<const RecordSet* const> record_sets) {
  std::string inner;
  TokenizedWriter writer(inner, record_sets.size());
  for (const RecordSet* const record_set : record_sets) {
    writer.BeginItem(record_set->Name(), ParamKind::kText);
    AppendRecordSetText(*record_set, inner);
    writer.EndItem();
  }
  writer.End();
  TAstaParamList request;
  request.FastAdd(transaction_name, Value(std::move(inner)));
  return request;
}

bool ExecuteTransaction(std::string_view transaction_name, std::span<RecordSet* const> record_sets) {
  for (RecordSet* const record_set : record_sets) record_set->PostPending();
  return App().Comunication().WriteDataService(WriteRequest(transaction_name, record_sets)) != 0;
}

bool ExecuteTransaction(std::string_view transaction_name, std::initializer_list<RecordSet*> record_sets) {
  return ExecuteTransaction(transaction_name, std::span(record_sets.begin(), record_sets.size()));
}

bool ExecuteTransaction(std::string_view transaction_name, const TDataModule& data_module) {
  return ExecuteTransaction(transaction_name, data_module.DataSets());
}

}  // namespace mox
