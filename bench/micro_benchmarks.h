#pragma once

#include "bench/peers.h"

namespace mox::bench {

/// Registers single operations: rounding, the text form, locating.
void RegisterMicroBenchmarks(Peers& peers);

}  // namespace mox::bench
