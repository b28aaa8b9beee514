#pragma once

#include <span>

#include "appserver/named_service.h"
#include "appserver/named_transaction.h"

namespace mox {

/// "ArtiklSlika", "SlikeDokumenta".
std::span<const NamedService> ArticlePictureServices();
/// "ArtiklSlikaUpis".
std::span<const NamedTransaction> ArticlePictureTransactionTable();

}  // namespace mox
