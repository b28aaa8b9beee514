#include "mox/documents/pending_links.h"

#include <string>

#include "mox/documents/document_kinds.h"
#include "mox/server/transactions.h"

namespace mox {

bool SaveDocDataToLinkLater(std::string_view parent_table, std::string_view parent_column,
                            std::int64_t parent_doc_id, std::string_view child_tip,
                            std::string_view user_id) {
  // Names are longer than the field, and what is left of one may be that of several kinds.
  const DocumentKind* const kind = FindDocumentKind(child_tip);
  RecordSet link("FTransTempVezeDataSet");
  link.DefineField("parent_table", FieldKind::kText, 100);
  link.DefineField("parent_column", FieldKind::kText, 100);
  link.DefineField("parent_doc_id", FieldKind::kInteger);
  link.DefineField("child_tip", FieldKind::kText, 15);
  link.DefineField("user_id", FieldKind::kText, 5);
  link.Open();
  link.AppendRecord({std::string(parent_table), std::string(parent_column), parent_doc_id,
                     std::string(kind == nullptr ? child_tip : kind->tip), std::string(user_id)});
  return ExecuteTransaction("UpisParentFieldForVD", {&link});
}

}  // namespace mox
