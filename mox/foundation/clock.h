#pragma once

#include <cstdint>

#include "mox/foundation/dates.h"

namespace mox {

// The clock and the time zone of this computer.

DateTime LocalNow();
/// The local time so many seconds after 1970, UTC.
DateTime LocalTimeOf(std::int64_t seconds);
Date Today();

}  // namespace mox
