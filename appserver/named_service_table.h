#pragma once

#include <span>

#include "appserver/named_service.h"

namespace mox {

/// Every read service; the look-ups of imports are apart.
std::span<const NamedService> NamedServiceTable();

}  // namespace mox
