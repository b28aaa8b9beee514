#pragma once

#include <span>

#include "appserver/database_check.h"
#include "appserver/named_service.h"

namespace mox {

/// What stands in warehouses.
std::span<const NamedService> StockServices();

/// Where what stands in a warehouse is not the sum of its movements, or a movement not what its line says.
void CheckStock(Database& database, std::vector<DatabaseFinding>& findings);

}  // namespace mox
