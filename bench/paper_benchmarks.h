#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// The page of a stored invoice of one sheet as PDF, beside WeasyPrint with the same texts as HTML; and the
/// time and the memory of an invoice of 5,000 lines.
void RegisterPaperBenchmarks();
void PrintPaperRatios(const Measurements& measurements);

}  // namespace mox::bench
