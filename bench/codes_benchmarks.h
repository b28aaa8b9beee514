#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// Checks of numbers beside those of Debian's python3-stdnum, where that is installed; amounts in words;
/// working days.
void RegisterCodesBenchmarks();

/// Their speeds and ratios, for all benchmarks that have run.
void PrintCodesRatios(const Measurements& measurements);

}  // namespace mox::bench
