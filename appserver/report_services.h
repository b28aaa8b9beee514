#pragma once

#include <span>

#include "appserver/named_service.h"

namespace mox {

/// Sums over stored documents: turnover, tax, balances of partners, stock.
std::span<const NamedService> ReportServices();

}  // namespace mox
