#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/record_set.h"

namespace mox {

/// Appends what `RecordSet::SaveToString` gives.
void AppendRecordSetText(const RecordSet& set, std::string& out);

struct RecordSetTextHead {
  std::string name;
  std::size_t records = 0;
};

/// The name and the number of records of a record set's text form, without its records being looked at. None
/// where the text is no such form.
std::optional<RecordSetTextHead> ReadRecordSetTextHead(std::string_view text);

}  // namespace mox
