#pragma once

#include <span>

#include "appserver/read_service.h"

namespace mox {

/// Those of the codebooks, one each, and the one that lists them.
std::span<const ReadService> CodebookServices();

}  // namespace mox
