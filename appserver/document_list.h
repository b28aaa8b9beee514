#pragma once

#include "appserver/read_service.h"

namespace mox {

/// The service "Dokumenti".
const ReadService& DocumentListService();

}  // namespace mox
