#pragma once

#include "bench/measurements.h"
#include "bench/peers.h"

namespace mox::bench {

/// Registers what is measured of a document: lines calculated by walking and by posting, and recapitulated,
/// by the record set and by each of its peers.
void RegisterDocumentBenchmarks(Peers& peers);

/// Prints a line `ratio NAME VALUE` for each ratio whose benchmarks have run.
void PrintRatios(const Measurements& measurements, Peers& peers);

}  // namespace mox::bench
