#pragma once

#include <span>

#include "appserver/named_transaction.h"

namespace mox {

/// Those that store exchange rates.
std::span<const NamedTransaction> RateTransactionTable();

}  // namespace mox
