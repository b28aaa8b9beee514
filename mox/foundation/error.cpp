#include "mox/foundation/error.h"

namespace mox {

FieldNotFound::FieldNotFound(std::string_view field, std::string_view record_set)
    : Error(record_set.empty()
                ? "field \"" + std::string(field) + "\" not found"
                : std::string(record_set) + ": field \"" + std::string(field) + "\" not found"),
      field_(field) {}

FormatError::FormatError(const std::string& reason, std::size_t offset)
    : Error("byte " + std::to_string(offset) + ": " + reason), offset_(offset) {}

}  // namespace mox
