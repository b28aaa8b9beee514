#include "bench/codebook_benchmarks.h"

#include <benchmark/benchmark.h>

#include <cstdio>
#include <stdexcept>
#include <string>

#include "appserver/search_index.h"
#include "bench/company_files.h"

namespace mox::bench {
namespace {

constexpr int kPartners = 1'000'000;
constexpr int kRepetitions = 5;
constexpr const char* kFind = "codebook_find";
constexpr const char* kScan = "codebook_find/scan";

// Names of three words, and what else is filled of most partners. Each name stands once.
class Partners {
 public:
  Partners() {
    file_.Execute(
        "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < " +
        std::to_string(kPartners - 1) +
        ") INSERT INTO par (sifra, naziv, adresa, mjesto_id, drzava_id) SELECT CAST(i + 100 AS VARCHAR), "
        "'Trgovina ' || substr('čšžđabcdefghijklmnop', i % 20 + 1, 1) || 'ivko ' || "
        "printf('%06x', (i * 2654435761) % 16777216) || ' d.o.o.', 'Ulica ' || CAST(i % 500 AS VARCHAR), "
        "i % 5 + 1, 98 FROM n");
    CatchUpSearchIndexes(file_.server().database());
  }

  std::int64_t Find(const std::string& text) {
    TAstaParamList request;
    request.FastAdd("trazi", text);
    const auto answers = file_.server().ReportDataService(request, "Kat\\partneri");
    return static_cast<std::int64_t>(answers->ParamByName("partneri").AsDataSet().RecordCount());
  }
  std::int64_t Scan(const std::string& text) {
    return PlainStatement(file_.plain(), "SELECT id FROM par WHERE naziv LIKE '%" + text + "%'").Run();
  }
  // A part that few names have, and no code: it has letters among its digits.
  std::string Part() { return file_.Text("SELECT substr(naziv, 16, 5) FROM par WHERE sifra = '123555'"); }

 private:
  CompanyFile file_;
};

Partners& AllPartners() {
  static Partners partners;
  return partners;
}

void Measure(benchmark::State& state, std::int64_t (Partners::*find)(const std::string&)) {
  Partners& partners = AllPartners();
  const std::string part = partners.Part();
  if (partners.Find(part) != partners.Scan(part)) throw std::runtime_error("the scan finds other partners");
  for (auto _ : state) benchmark::DoNotOptimize((partners.*find)(part));
  state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()));
}

}  // namespace

void RegisterCodebookBenchmarks() {
  const auto measure = [](const char* name, std::int64_t (Partners::*find)(const std::string&)) {
    benchmark::RegisterBenchmark(name, [find](benchmark::State& state) { Measure(state, find); })
        ->Repetitions(kRepetitions)
        ->Unit(benchmark::kMillisecond);
  };
  measure(kFind, &Partners::Find);
  measure(kScan, &Partners::Scan);
}

void PrintCodebookRatios(const Measurements& measurements) {
  measurements.PrintRatio({"codebook_find", kScan, kFind});
}

}  // namespace mox::bench
