#pragma once

#include <span>

#include "appserver/named_transaction.h"

namespace mox {

/// Those that change the company's own data.
std::span<const NamedTransaction> CompanyTransactionTable();

}  // namespace mox
