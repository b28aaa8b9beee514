// Measures record sets against hand-written loops and other ways to keep a document's lines, checks of
// numbers against another library's, and imports against a database's shell, all in one run. The output ends
// with one line `ratio NAME VALUE` for each ratio; docs/PERFORMANCE.md says what they mean.

#include <benchmark/benchmark.h>

#include <cstdio>
#include <exception>
#include <string_view>
#include <vector>

#include "bench/codebook_benchmarks.h"
#include "bench/codes_benchmarks.h"
#include "bench/document_benchmarks.h"
#include "bench/import_benchmarks.h"
#include "bench/measurements.h"
#include "bench/micro_benchmarks.h"
#include "bench/paper_benchmarks.h"
#include "bench/peers.h"
#include "bench/postgresql_benchmarks.h"
#include "bench/print_benchmarks.h"
#include "bench/report_benchmarks.h"
#include "bench/serve_benchmarks.h"
#include "bench/server_benchmarks.h"
#include "bench/workbook_benchmarks.h"
#include "mox/foundation/app.h"
#include "mox/host/memory_settings.h"

namespace {

int Run() {
  mox::MemorySettings settings;
  const mox::ScopedApp app({.ini = &settings});

  mox::bench::Peers peers;
  peers.Check();
  mox::bench::RegisterDocumentBenchmarks(peers);
  mox::bench::RegisterMicroBenchmarks(peers);
  mox::bench::RegisterPrintBenchmarks();
  mox::bench::RegisterCodesBenchmarks();
  mox::bench::RegisterServerBenchmarks();
  mox::bench::RegisterCodebookBenchmarks();
  mox::bench::RegisterReportBenchmarks();
  mox::bench::RegisterImportBenchmarks();
  mox::bench::RegisterWorkbookBenchmarks();
  mox::bench::RegisterPaperBenchmarks();
  mox::bench::RegisterPostgresqlBenchmarks();
  mox::bench::RegisterServeBenchmarks();
  mox::bench::Measurements measurements;
  benchmark::RunSpecifiedBenchmarks(&measurements);
  peers.Check();

  std::printf("\n%zu lines (naive: %zu), values of all peers the same; sums of SQLite: %s\n\n",
              mox::bench::kLineCount, mox::bench::kNaiveLineCount, peers.SqliteDifference().c_str());
  mox::bench::PrintRatios(measurements, peers);
  mox::bench::PrintPrintRatios(measurements);
  mox::bench::PrintCodesRatios(measurements);
  mox::bench::PrintServerRatios(measurements);
  mox::bench::PrintCodebookRatios(measurements);
  mox::bench::PrintReportRatios(measurements);
  mox::bench::PrintImportRatios(measurements);
  mox::bench::PrintWorkbookRatios(measurements);
  mox::bench::PrintPaperRatios(measurements);
  mox::bench::PrintPostgresqlRatios(measurements);
  mox::bench::PrintServeRatios(measurements);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc == 2 && std::string_view(argv[1]) == mox::bench::kImportMemoryOption) {
    return mox::bench::PrintImportMemory();
  }
  if (argc == 3 && std::string_view(argv[1]) == mox::bench::kWorkbookMemoryOption) {
    return mox::bench::PrintWorkbookMemory(argv[2]);
  }
  if (argc == 2 && std::string_view(argv[1]) == mox::bench::kServeMemoryOption) {
    return mox::bench::PrintServeMemory();
  }
  // Mixed repetitions let a slow moment of the machine fall on all benchmarks alike.
  char mixed[] = "--benchmark_enable_random_interleaving=true";
  std::vector<char*> arguments(argv, argv + argc);
  arguments.insert(arguments.begin() + 1, mixed);
  int count = static_cast<int>(arguments.size());
  arguments.push_back(nullptr);
  benchmark::Initialize(&count, arguments.data());
  if (benchmark::ReportUnrecognizedArguments(count, arguments.data())) return 2;
  try {
    return Run();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "mox_bench: %s\n", error.what());
    return 1;
  }
}
