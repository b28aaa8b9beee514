#pragma once

#include "mox/foundation/dates.h"

namespace mox {

// The clock and the time zone of this computer.

DateTime LocalNow();
Date Today();

}  // namespace mox
