#include "mox/codes/exchange_rates.h"

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"
#include "mox/foundation/real.h"

namespace mox {

std::string_view GetValutaOznakaByDate(Date date) { return ToCivil(date).year >= 2023 ? "EUR" : "HRK"; }

}  // namespace mox
