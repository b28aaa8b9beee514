#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// A small read of a server on the network, beside the same read in this process and an echo of the server's
/// library alone; writes of one client and of eight, over a PostgreSQL server that waits for its disk; what a
/// thousand idle connections cost.
void RegisterServeBenchmarks();

/// Their ratios, for all benchmarks that have run.
void PrintServeRatios(const Measurements& measurements);

/// Run as a process of its own it prints the megabytes that a server took at most with a thousand
/// connections.
inline constexpr const char* kServeMemoryOption = "--serve-memory";
int PrintServeMemory();

}  // namespace mox::bench
