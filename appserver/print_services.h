#pragma once

#include <span>

#include "appserver/named_service.h"
#include "appserver/named_transaction.h"

namespace mox {

/// What a document says on paper besides its own records: the service "DokumentIspis".
std::span<const NamedService> PrintServices();

/// What the tax administration knows of receipts: the transaction "FiskalniPodaciUpis".
std::span<const NamedTransaction> FiscalTransactionTable();

}  // namespace mox
