#include "bench/workbook_benchmarks.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "bench/import_sheet.h"
#include "mox/foundation/files.h"
#include "mox/import/import_profiles.h"
#include "sheets/open_sheet.h"
#include "sheets/xlsx_writer.h"

namespace mox::bench {
namespace {

constexpr std::size_t kRows = 100'000;
constexpr int kRepetitions = 3;
constexpr const char* kReader = "workbook/read";
constexpr const char* kPeer = "workbook/openpyxl";
constexpr const char* kPython = "/usr/bin/python3 ";  // the one that finds Debian's packages

CellKind KindOf(const ImportFieldDef& field) {
  if (field.field_type == field_type::kFloat) return CellKind::kNumber;
  return field.field_type == field_type::kBoolean ? CellKind::kBoolean : CellKind::kText;
}

std::vector<WrittenColumn> Columns() {
  std::vector<WrittenColumn> columns;
  const std::vector<ImportFieldDef> fields = ImportFieldsOf(*FindImportProfile("PARTNERPTT"));
  for (std::size_t i = kFirstDataPosition; i < fields.size(); ++i) {
    columns.push_back({fields[i].caption, KindOf(fields[i]), false, {}});
  }
  return columns;
}

// The workbook in a file, for as long as it is compared.
class Workbook {
 public:
  Workbook()
      : path_(std::filesystem::temp_directory_path() /
              ("mox_bench_" + std::to_string(::getpid()) + ".xlsx")) {
    XlsxWriter writer("Partneri", Columns(), {});
    const std::string text = ImportSheets().Text(kRows);
    std::vector<std::string_view> cells;
    for (std::string_view rest = text; !rest.empty();) {
      std::string_view line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(line.size() + 1);
      cells.clear();
      for (std::size_t tab = 0; tab != std::string_view::npos; line.remove_prefix(tab + 1)) {
        tab = line.find('\t');
        cells.push_back(line.substr(0, tab));
        if (tab == std::string_view::npos) break;
      }
      writer.AddRow(cells);
    }
    std::ofstream(path_, std::ios::binary) << writer.Finish();
  }
  ~Workbook() { std::filesystem::remove(path_); }
  Workbook(const Workbook&) = delete;
  Workbook& operator=(const Workbook&) = delete;

  std::string Path() const { return path_.string(); }

 private:
  std::filesystem::path path_;
};

std::size_t CountFilledCells(const std::string& path) {
  const std::unique_ptr<SheetRows> rows = OpenSheet({path, ReadWholeFile(path)}, {});
  std::size_t cells = 0;
  for (SheetRow row; rows->Next(row);) {
    for (const SheetCell& cell : row.cells) cells += cell.text.empty() ? 0 : 1;
  }
  return cells;
}

// Seconds of processor time; the peer must find the same cells.
double AskPeer(const std::string& path, std::size_t expected) {
  const std::string command = kPython + std::string(MOX_SOURCE_DIR "/bench/openpyxl_peer.py '") + path + "'";
  std::FILE* const pipe = ::popen(command.c_str(), "r");
  double seconds = 0;
  std::size_t cells = 0;
  const bool read = pipe != nullptr && std::fscanf(pipe, "%lf %zu", &seconds, &cells) == 2;
  if (pipe == nullptr || ::pclose(pipe) != 0 || !read) throw std::runtime_error("no answer from " + command);
  if (cells != expected) throw std::runtime_error("openpyxl finds other cells");
  return seconds;
}

std::shared_ptr<Workbook>& CurrentWorkbook() {
  static std::shared_ptr<Workbook> workbook;
  return workbook;
}

}  // namespace

void RegisterWorkbookBenchmarks() {
  benchmark::RegisterBenchmark(
      kReader,
      [](benchmark::State& state) {
        std::shared_ptr<Workbook>& workbook = CurrentWorkbook();
        if (!workbook) workbook = std::make_shared<Workbook>();
        for (auto _ : state) benchmark::DoNotOptimize(CountFilledCells(workbook->Path()));
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRows));
      })
      ->Iterations(1)
      ->Repetitions(kRepetitions);
  if (std::system((kPython + std::string("-c 'import openpyxl' 2>/dev/null")).c_str()) != 0) {
    std::printf("python3-openpyxl is not installed and not compared\n");
    return;
  }
  benchmark::RegisterBenchmark(
      kPeer,
      [](benchmark::State& state) {
        std::shared_ptr<Workbook>& workbook = CurrentWorkbook();
        if (!workbook) workbook = std::make_shared<Workbook>();
        const std::size_t cells = CountFilledCells(workbook->Path());
        for (auto _ : state) state.SetIterationTime(AskPeer(workbook->Path(), cells));
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRows));
      })
      ->UseManualTime()
      ->Iterations(1)
      ->Repetitions(1);
}

int PrintWorkbookMemory(const char* path) {
  rusage before{};
  rusage after{};
  ::getrusage(RUSAGE_SELF, &before);
  CountFilledCells(path);
  ::getrusage(RUSAGE_SELF, &after);
  std::printf("%.1f\n", static_cast<double>(after.ru_maxrss - before.ru_maxrss) / 1024);
  return 0;
}

void PrintWorkbookRatios(const Measurements& measurements) {
  const auto reader = measurements.Fastest(kReader);
  if (!reader) return;
  measurements.PrintRatio({"xlsx_openpyxl", kPeer, kReader});
  std::printf("ratio xlsx_seconds_100k %.3f\n", *reader * static_cast<double>(kRows) / 1e9);

  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  const std::string command =
      "'" + self + "' " + kWorkbookMemoryOption + " '" + CurrentWorkbook()->Path() + "'";
  std::FILE* const answer = ::popen(command.c_str(), "r");
  double megabytes = 0;
  const bool read = answer != nullptr && std::fscanf(answer, "%lf", &megabytes) == 1;
  if (answer == nullptr || ::pclose(answer) != 0 || !read) throw std::runtime_error("no memory was measured");
  std::printf("ratio xlsx_mb %.0f\n", megabytes);
  CurrentWorkbook().reset();
}

}  // namespace mox::bench
