#pragma once

#include <span>

#include "appserver/named_service.h"

namespace mox {

/// What programs ask of the tables and the journal of imports, so that they need not be where the database
/// is.
std::span<const NamedService> ClientServices();

}  // namespace mox
