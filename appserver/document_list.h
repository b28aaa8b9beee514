#pragma once

#include "appserver/named_service.h"

namespace mox {

/// The service "Dokumenti".
const NamedService& DocumentListService();

}  // namespace mox
