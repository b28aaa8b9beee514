#pragma once

#include <span>

#include "appserver/read_service.h"

namespace mox {

/// Every read service; the look-ups of imports are apart.
std::span<const ReadService> ReadServiceTable();

}  // namespace mox
