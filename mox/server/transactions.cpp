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

bool SaveDocDataToLinkLater(std::string_view parent_table, std::string_view parent_column,
                            std::int64_t parent_doc_id, std::string_view child_tip,
                            std::string_view user_id) {
  RecordSet link("FTransTempVezeDataSet");
  link.DefineField("parent_table", FieldKind::kText, 100);
  link.DefineField("parent_column", FieldKind::kText, 100);
  link.DefineField("parent_doc_id", FieldKind::kInteger);
  link.DefineField("child_tip", FieldKind::kText, 15);
  link.DefineField("user_id", FieldKind::kText, 5);
  link.Open();
  link.AppendRecord({std::string(parent_table), std::string(parent_column), parent_doc_id,
                     std::string(child_tip), std::string(user_id)});
  return ExecuteTransaction("UpisParentFieldForVD", {&link});
}

}  // namespace mox
