#pragma once

#include <optional>

#include "appserver/named_transaction.h"

namespace mox {

/// Takes back the import that "id" of the record set "adsUvoz" names: its rows are deleted, changed ones get
/// back what they had. Raises WriteRefused that names them where rows were changed, are gone or are referred
/// to since.
std::optional<RecordSet> UndoImport(const NamedTransaction& transaction, Database& database,
                                    const SentRecordSets& sent);

/// The transaction that takes imports back.
const NamedTransaction& UndoImportTransaction();

}  // namespace mox
