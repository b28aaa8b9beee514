#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// A partner among a million found by a part of his name, beside a plain scan with LIKE over the same file.
void RegisterCodebookBenchmarks();

/// Their ratio, where both have run.
void PrintCodebookRatios(const Measurements& measurements);

}  // namespace mox::bench
