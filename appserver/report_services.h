#pragma once

#include <span>

#include "appserver/read_service.h"

namespace mox {

/// Sums over stored documents: turnover, tax, balances of partners, stock.
std::span<const ReadService> ReportServices();

}  // namespace mox
