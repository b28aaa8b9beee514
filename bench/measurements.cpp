#include "bench/measurements.h"

#include <malloc.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <stdexcept>

namespace mox::bench {

namespace {

// Since the last reset, in bytes.
double PeakMemory() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmHWM:")) return std::stod(line.substr(6)) * 1024;
  }
  return 0;
}

// Memory that was freed before is given back first, so that it does not hide what is taken next.
void ResetPeakMemory() {
  malloc_trim(0);
  std::ofstream("/proc/self/clear_refs") << "5";
}

}  // namespace

double MemoryTaken(const std::function<void()>& run) {
  ResetPeakMemory();
  const double before = PeakMemory();
  run();
  return PeakMemory() - before;
}

bool Measurements::ReportContext(const Context& context) {
  std::printf("%d processors of %.0f MHz", context.cpu_info.num_cpus,
              context.cpu_info.cycles_per_second / 1e6);
  if (!context.cpu_info.load_avg.empty()) std::printf(", load %.2f", context.cpu_info.load_avg.front());
  std::printf(", compiler %s\n", __VERSION__);
  return true;
}

void Measurements::ReportRuns(const std::vector<Run>& runs) {
  for (const Run& run : runs) {
    if (run.error_occurred) throw std::runtime_error(run.benchmark_name() + ": " + run.error_message);
    if (run.run_type != Run::RT_Iteration) continue;
    Series& series = series_[run.family_index];
    series.benchmark = run.run_name.function_name;
    series.nanoseconds.push_back(1e9 / run.counters.at("items_per_second"));
    const auto bytes = run.counters.find("bytes_per_second");
    if (bytes != run.counters.end()) {
      series.megabytes_per_second = std::max(series.megabytes_per_second, bytes->second / 1e6);
    }
  }
}

void Measurements::Finalize() {
  std::printf("\n%-28s %11s %11s %8s\n", "processor time for an item", "fastest ns", "median ns", "MB/s");
  for (auto& [index, series] : series_) {
    std::sort(series.nanoseconds.begin(), series.nanoseconds.end());
    std::printf("%-28s %11.2f %11.2f", series.benchmark.c_str(), series.nanoseconds.front(),
                series.nanoseconds[series.nanoseconds.size() / 2]);
    if (series.megabytes_per_second > 0) std::printf(" %8.0f", series.megabytes_per_second);
    std::printf("\n");
  }
}

std::optional<double> Measurements::Fastest(const std::string& benchmark) const {
  for (const auto& [index, series] : series_) {
    if (series.benchmark == benchmark) {
      return *std::min_element(series.nanoseconds.begin(), series.nanoseconds.end());
    }
  }
  return std::nullopt;
}

void Measurements::PrintRatio(const Ratio& ratio) const {
  const auto numerator = Fastest(ratio.numerator);
  const auto denominator = Fastest(ratio.denominator);
  if (!numerator || !denominator) return;
  std::printf("ratio %s %.2f  (%.1f ns to %.1f)\n", ratio.name, *numerator / *denominator, *numerator,
              *denominator);
}

}  // namespace mox::bench
