#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// Reading the sheet of the import benchmarks as a workbook, beside openpyxl's read-only mode.
void RegisterWorkbookBenchmarks();

/// Their ratio, and the memory that reading takes.
void PrintWorkbookRatios(const Measurements& measurements);

/// The option, followed by a workbook, under which the program reads it and prints the most memory that it
/// took.
inline constexpr const char* kWorkbookMemoryOption = "--workbook-memory";
int PrintWorkbookMemory(const char* path);

}  // namespace mox::bench
