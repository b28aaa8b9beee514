#pragma once

#include "bench/measurements.h"

namespace mox::bench {

/// A document of many lines and an import of many journal lines stored in PostgreSQL, beside a bare COPY of
/// the same rows into the same table, with its references and indexes. Times are of the clock, as the server
/// is a process of its own.
void RegisterPostgresqlBenchmarks();
void PrintPostgresqlRatios(const Measurements& measurements);

}  // namespace mox::bench
