#include "bench/document_benchmarks.h"

#include <cstdio>
#include <functional>

namespace mox::bench {
namespace {

constexpr int kRepetitions = 15;
constexpr int kRepetitionsOfSlow = 5;

// One run over all lines is one iteration; restore() and prepare() are not timed.
void Register(const char* name, int repetitions, std::size_t lines, std::function<void()> run,
              std::function<void()> restore = {}, std::function<void()> prepare = {}) {
  benchmark::RegisterBenchmark(
      name,
      [=](benchmark::State& state) {
        if (prepare) prepare();
        for (auto _ : state) run();
        if (restore) restore();
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(lines));
      })
      ->Iterations(1)
      ->Repetitions(repetitions);
}

constexpr Ratio kRatios[] = {
    {"calc_walk", "calc_walk/record_set", "calc_walk/plain_loop"},
    {"calc_walk_base", "calc_walk/record_set", "calc_walk/base_loop"},
    {"calc_post", "calc_post/record_set", "calc_post/plain_loop"},
    {"calc_post_base", "calc_post/record_set", "calc_post/base_loop"},
    {"calc_post_once", "calc_post/settled", "calc_post/plain_loop_once"},
    {"calc_naive", "calc_walk/naive", "calc_walk/record_set"},
    {"recap_walk", "recap/record_set", "recap/plain_loop"},
    {"recap_walk_base", "recap/record_set", "recap/base_loop"},
    {"recap_sqlite", "recap/sqlite", "recap/record_set"},
};

}  // namespace

void RegisterDocumentBenchmarks(Peers& peers) {
  Register("calc_walk/record_set", kRepetitions, kLineCount, [&] { Walk(peers.LinesWithEvent()); });
  constexpr auto kRounding = Arithmetic::kRoundingTest;
  Register("calc_walk/plain_loop", kRepetitions, kLineCount,
           [&] { CalculatePlainly(peers.Plain(), kDigits, kRounding); });
  Register("calc_walk/base_loop", kRepetitions, kLineCount,
           [&] { CalculatePlainly(peers.Plain(), kDigits); });
  Register("calc_walk/naive", kRepetitionsOfSlow, kNaiveLineCount, [&] {
    NaiveRecordSet& lines = peers.Naive();
    for (lines.First(); !lines.Eof(); lines.Next()) {
    }
  });

  // Each run raises all prices, and takes them back when it is over.
  static constexpr Currency kRaise = Currency::FromScaled(Currency::kScale);
  const auto lower_plain = [&] { RaisePricesOncePlainly(peers.Plain(), -kRaise, kDigits); };
  Register(
      "calc_post/record_set", kRepetitions, kLineCount, [&] { RaisePrices(peers.LinesWithEvent(), kRaise); },
      [&] { RaisePrices(peers.LinesWithEvent(), -kRaise); });
  Register(
      "calc_post/settled", kRepetitions, kLineCount, [&] { RaisePrices(peers.Lines(), kRaise); },
      [&] { RaisePrices(peers.Lines(), -kRaise); }, [&] { Walk(peers.LinesWithSettlingEvent()); });
  Register(
      "calc_post/plain_loop", kRepetitions, kLineCount,
      [&] { RaisePricesPlainly(peers.Plain(), kRaise, kDigits, kRounding); }, lower_plain);
  Register(
      "calc_post/base_loop", kRepetitions, kLineCount,
      [&] { RaisePricesPlainly(peers.Plain(), kRaise, kDigits); }, lower_plain);
  Register(
      "calc_post/plain_loop_once", kRepetitions, kLineCount,
      [&] { RaisePricesOncePlainly(peers.Plain(), kRaise, kDigits, kRounding); }, lower_plain);

  Register("recap/record_set", kRepetitions, kLineCount,
           [&] { Recapitulate(peers.LinesWithoutEvent(), peers.Recapitulation()); });
  Register("recap/plain_loop", kRepetitions, kLineCount,
           [&] { benchmark::DoNotOptimize(RecapitulatePlainly(peers.Plain(), kDigits, kRounding)); });
  Register("recap/base_loop", kRepetitions, kLineCount,
           [&] { benchmark::DoNotOptimize(RecapitulatePlainly(peers.Plain(), kDigits)); });
  Register("recap/sqlite", kRepetitionsOfSlow, kLineCount,
           [&] { benchmark::DoNotOptimize(peers.Sqlite().Recapitulate()); });
}

void PrintRatios(const Measurements& measurements, Peers& peers) {
  for (const Ratio& ratio : kRatios) measurements.PrintRatio(ratio);
  const auto bytes = static_cast<double>(peers.LinesWithoutEvent().MemoryBytes());
  std::printf("ratio line_bytes %.2f\n", bytes / static_cast<double>(kLineCount));
}

}  // namespace mox::bench
