#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mox {

/// Which import stored the file of that digest before, for people; none where none did or it was taken back.
std::optional<std::string> StoredImport(std::string_view profile, const std::string& digest);

/// Takes an import of the journal back, all of its rows or none. False where the server refused it.
bool TakeImportBack(std::int64_t number, std::string_view user);

}  // namespace mox
