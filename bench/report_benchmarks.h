#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// Reports over many stored documents: turnover against reading document by document, stock and balances over
/// little and over much history.
void RegisterReportBenchmarks();
void PrintReportRatios(const Measurements& measurements);

}  // namespace mox::bench
