#pragma once

#include <span>

#include "appserver/named_transaction.h"

namespace mox {

/// Those that store documents, cancel them and link them.
std::span<const NamedTransaction> DocumentTransactionTable();

}  // namespace mox
