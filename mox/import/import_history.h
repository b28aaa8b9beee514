#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mox {

/// Which import stored the file of that digest before, for people; none where none did or it was taken back.
std::optional<std::string> StoredImport(std::string_view profile, const std::string& digest);

}  // namespace mox
