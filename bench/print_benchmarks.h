#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// Registers what it takes to print a document of 10,000 lines: its file read, calculated, recapitulated and
/// written as a table, by the document and by a plain loop over structs. Raises std::runtime_error where the
/// two tables differ.
void RegisterPrintBenchmarks();

/// Prints a line `ratio print_document VALUE` where both have run.
void PrintPrintRatios(const Measurements& measurements);

}  // namespace mox::bench
