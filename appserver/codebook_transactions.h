#pragma once

#include <span>

#include "appserver/named_transaction.h"

namespace mox {

/// Those that store rows of codebooks and take them away.
std::span<const NamedTransaction> CodebookTransactionTable();

}  // namespace mox
