#pragma once

#include <span>

#include "appserver/named_transaction.h"

namespace mox {

/// Those that store what the import grid sends.
std::span<const NamedTransaction> ImportTransactionTable();

}  // namespace mox
