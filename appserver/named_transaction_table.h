#pragma once

#include <span>

#include "appserver/named_transaction.h"

namespace mox {

/// Those that store documents and links, then those of the company, of codebooks, of e-invoices and of
/// the imports.
std::span<const NamedTransaction> NamedTransactionTable();

}  // namespace mox
