#pragma once

#include <cstdint>
#include <string_view>

namespace mox {

/// Remembers that the next document of kind `child_tip`, a kind's name or its code, which the user stores
/// belongs to a document. Writes the record set "FTransTempVezeDataSet" with the transaction
/// "UpisParentFieldForVD", the kind by its code. Texts are cut to 100, 100, 15 and 5 characters. False when
/// the server refused it.
bool SaveDocDataToLinkLater(std::string_view parent_table, std::string_view parent_column,
                            std::int64_t parent_doc_id, std::string_view child_tip, std::string_view user_id);

}  // namespace mox
