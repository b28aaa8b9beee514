#include "bench/import_benchmarks.h"

#include <sys/resource.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/import_sheet.h"

namespace mox::bench {
namespace {

constexpr int kRepetitions = 5;
constexpr std::size_t kRows = 100'000;

struct Size {
  const char* benchmark;
  std::size_t rows;
};

constexpr Size kSizes[] = {
    {"import/25k", 25'000}, {"import/50k", 50'000}, {"import/100k", kRows}, {"import/200k", 2 * kRows}};
constexpr const char* kShell = "import/sqlite_100k";

void RegisterSize(const Size& size, const std::shared_ptr<ImportSheets>& sheets) {
  benchmark::RegisterBenchmark(
      size.benchmark,
      [=](benchmark::State& state) {
        const std::string text = sheets->Text(size.rows);
        ImportHost host(*sheets);
        for (auto _ : state) host.PasteAndCheck(text, size.rows);
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(size.rows));
      })
      ->Iterations(1)
      ->Repetitions(kRepetitions);
}

// --- the peer ---

// What a user would do by hand with the shell of SQLite: import the sheet, then ask for the rows whose values
// are not among the stored ones.
class ShellImport {
 public:
  explicit ShellImport(const ImportSheets& sheets)
      : folder_(std::filesystem::temp_directory_path() / ("mox_bench_import_" + std::to_string(::getpid()))) {
    std::filesystem::create_directories(folder_);
    std::ofstream(folder_ / "sheet.tsv") << sheets.Text(kRows);
    std::ofstream stored(folder_ / "stored.sql");
    stored << "BEGIN;\n";
    for (const auto& [field, values] : sheets.Stored()) {
      stored << "CREATE TABLE s_" << field << " (v TEXT PRIMARY KEY);\n";
      for (const std::string& value : values) {
        stored << "INSERT OR IGNORE INTO s_" << field << " VALUES ('" << value << "');\n";
      }
    }
    stored << "COMMIT;\n";
    stored.close();
    Shell("stored.db", "stored.sql");
    WriteScript(sheets);
  }
  ~ShellImport() { std::filesystem::remove_all(folder_); }
  ShellImport(const ShellImport&) = delete;
  ShellImport& operator=(const ShellImport&) = delete;

  /// Processor time in seconds.
  double Run() const {
    const double before = SecondsOfChildren();
    std::size_t faults = 0;
    std::FILE* const answers = ::popen(Command(":memory:", "import.sql").c_str(), "r");
    std::size_t found = 0;
    while (answers != nullptr && std::fscanf(answers, "%zu", &found) == 1) faults += found;
    if (answers == nullptr || ::pclose(answers) != 0) throw std::runtime_error("sqlite3 cannot be run");
    if (faults != ImportSheets::Faults(kRows)) throw std::runtime_error("sqlite3 found other faults");
    return SecondsOfChildren() - before;
  }

 private:
  static double SecondsOfChildren() {
    rusage usage{};
    ::getrusage(RUSAGE_CHILDREN, &usage);
    const auto seconds = [](const timeval& time) {
      return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
  }

  std::string Command(const char* database, const char* script) const {
    return "cd '" + folder_.string() + "' && sqlite3 -batch " + database + " < " + script;
  }
  void Shell(const char* database, const char* script) const {
    if (std::system(Command(database, script).c_str()) != 0)
      throw std::runtime_error("sqlite3 cannot be run");
  }

  void WriteScript(const ImportSheets& sheets) const {
    std::ofstream script(folder_ / "import.sql");
    NoView view;
    TfrmImportGrid form(view, "PARTNERPTT");
    form.OnShow();
    script << "ATTACH 'stored.db' AS stored;\nCREATE TABLE sheet (";
    for (std::size_t i = kFirstDataPosition; i < form.Fields().size(); ++i) {
      script << (i > kFirstDataPosition ? ", " : "") << form.Fields()[i].field_name << " TEXT";
    }
    script << ");\n.mode tabs\n.import sheet.tsv sheet\n";
    for (const auto& [field, values] : sheets.Stored()) {
      const bool is_new = field == "NAZIV";  // no row may have one of the stored names
      script << "SELECT COUNT(*) FROM sheet LEFT JOIN stored.s_" << field << " s ON s.v = sheet." << field
             << " WHERE sheet." << field << " <> '' AND s.v IS " << (is_new ? "NOT NULL" : "NULL") << ";\n";
    }
  }

  struct NoView : ImportGridView {
    void ShowModal(TfrmImportGrid& /*form*/) override {}
  };

  std::filesystem::path folder_;
};

}  // namespace

void RegisterImportBenchmarks() {
  const auto sheets = std::make_shared<ImportSheets>();
  for (const Size& size : kSizes) RegisterSize(size, sheets);
  if (std::system("command -v sqlite3 > /dev/null") != 0) {
    std::printf("the shell sqlite3 is not installed and not compared\n");
    return;
  }
  const auto shell = std::make_shared<ShellImport>(*sheets);
  benchmark::RegisterBenchmark(
      kShell,
      [=](benchmark::State& state) {
        for (auto _ : state) state.SetIterationTime(shell->Run());
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kRows));
      })
      ->UseManualTime()
      ->Iterations(1)
      ->Repetitions(kRepetitions);
}

int PrintImportMemory() {
  const ImportSheets sheets;
  const std::string text = sheets.Text(kRows);
  rusage before{};
  rusage after{};
  ImportHost host(sheets);
  ::getrusage(RUSAGE_SELF, &before);
  host.PasteAndCheck(text, kRows);
  ::getrusage(RUSAGE_SELF, &after);
  std::printf("%.1f\n", static_cast<double>(after.ru_maxrss - before.ru_maxrss) / 1024);
  return 0;
}

void PrintImportRatios(const Measurements& measurements) {
  for (const Size& size : kSizes) {
    const auto row = measurements.Fastest(size.benchmark);
    if (row) std::printf("%-12s %.3f s\n", size.benchmark, *row * static_cast<double>(size.rows) / 1e9);
  }
  const auto one = measurements.Fastest("import/100k");
  if (!one) return;
  measurements.PrintRatio({"import_sqlite", kShell, "import/100k"});
  measurements.PrintRatio({"import_linear", "import/200k", "import/100k"});
  std::printf("ratio import_seconds_100k %.3f\n", *one * static_cast<double>(kRows) / 1e9);

  const std::string self = std::filesystem::read_symlink("/proc/self/exe");
  std::FILE* const answer = ::popen(("'" + self + "' " + kImportMemoryOption).c_str(), "r");
  double megabytes = 0;
  const bool read = answer != nullptr && std::fscanf(answer, "%lf", &megabytes) == 1;
  if (answer == nullptr || ::pclose(answer) != 0 || !read) throw std::runtime_error("no memory was measured");
  std::printf("ratio import_mb %.0f\n", megabytes);
}

}  // namespace mox::bench
