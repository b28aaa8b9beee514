#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// A document of many lines stored through a named transaction, and values looked up through the service of
/// the import grid, beside plain statements over the same file.
void RegisterServerBenchmarks();

/// Their ratios, for all benchmarks that have run.
void PrintServerRatios(const Measurements& measurements);

}  // namespace mox::bench
