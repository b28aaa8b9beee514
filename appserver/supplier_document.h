#pragma once

#include <optional>
#include <string>

#include "appserver/named_transaction.h"
#include "mox/documents/document_kinds.h"

namespace mox {

/// What the supplier's document of a receipt comes to, which follows from the lines whether it is sent
/// ("DokDobavljaca") or not; none of a kind without such a document. Raises WriteRefused where what is sent
/// is something else, or has fields that are not stored.
std::optional<RecordSet> CheckedSupplierTotals(Database& database, const DocumentKind& kind,
                                               const std::string& supplier_document,
                                               const SentRecordSets& sent);

}  // namespace mox
