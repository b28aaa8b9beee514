#pragma once

#include <span>

#include "appserver/named_service.h"

namespace mox {

/// Those of the codebooks, one each, and the one that lists them.
std::span<const NamedService> CodebookServices();

}  // namespace mox
