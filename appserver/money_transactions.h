#pragma once

#include <span>

#include "appserver/named_transaction.h"

namespace mox {

/// Those that store payments.
std::span<const NamedTransaction> MoneyTransactionTable();

}  // namespace mox
