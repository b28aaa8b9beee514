#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// Partners pasted into the import grid and checked, in sheets of doubling size, beside an import by hand
/// with the shell of SQLite.
void RegisterImportBenchmarks();

/// Their seconds and ratios, for all benchmarks that have run, and the memory that the import takes.
void PrintImportRatios(const Measurements& measurements);

/// The option under which the program imports 100,000 rows once and prints the most memory that it took.
inline constexpr const char* kImportMemoryOption = "--import-memory";
int PrintImportMemory();

}  // namespace mox::bench
