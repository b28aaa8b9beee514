#pragma once

#include <benchmark/benchmark.h>

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace mox::bench {

/// The time of one benchmark, to that of another.
struct Ratio {
  const char* name;
  const char* numerator;
  const char* denominator;
};

/// The most memory that the process has while that runs, less what it had before, in bytes.
double MemoryTaken(const std::function<void()>& run);

/// Collects the runs, whose repetitions are mixed, and prints a row for each benchmark at the end.
///
/// Times are processor time for one item (a line, a call). A benchmark counts with the fastest of its
/// repetitions, because whatever else the machine does can only make a run slower.
class Measurements : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& context) override;
  void ReportRuns(const std::vector<Run>& runs) override;
  void Finalize() override;

  /// Nanoseconds for an item; none when the benchmark did not run.
  std::optional<double> Fastest(const std::string& benchmark) const;
  /// Prints `ratio NAME VALUE` and both times for an item; nothing where one of them did not run.
  void PrintRatio(const Ratio& ratio) const;

 private:
  struct Series {
    std::string benchmark;
    std::vector<double> nanoseconds;  // for an item, of each repetition
    double megabytes_per_second = 0;  // of the fastest; 0 where no bytes are counted
  };

  std::map<std::int64_t, Series> series_;  // in the order in which the benchmarks were registered
};

}  // namespace mox::bench
