#pragma once

#include <cstdint>

#include "mox/foundation/currency.h"

namespace mox {

/// Whether work may go on with a document of this amount for the partner. Asks the partner's credit limit and
/// days overdue of the server, and the user where the partner's settings leave the decision to him. A partner
/// without an answer has no limits.
bool CheckKreditniLimitPartnera(std::int64_t partner_id, Currency amount);

}  // namespace mox
