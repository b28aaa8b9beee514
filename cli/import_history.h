#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "cli/command.h"
#include "mox/import/import_grid.h"

namespace mox {

/// Where the bytes of a file that goes into an import come from; standard input has no name.
ImportOrigin OriginOf(const std::string& path, std::string_view bytes, bool again);

/// `mox import --journal`: the stored imports, the last one first.
void ListImports(Session& session);

/// `mox import --undo N`. A rehearsal only says whether it could be done.
void TakeImportBack(std::int64_t number, bool rehearsal, Session& session);

}  // namespace mox
