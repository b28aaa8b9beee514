#include "bench/micro_benchmarks.h"

#include <benchmark/benchmark.h>

#include "mox/foundation/rounding.h"

namespace mox::bench {
namespace {

constexpr int kRepetitions = 7;

template <typename Run>
void Register(const char* name, Run run) {
  benchmark::RegisterBenchmark(name, run)->Iterations(1)->Repetitions(kRepetitions);
}

// round(value) over values that stay in the cache.
template <typename T, typename RoundOne>
void RunRounding(benchmark::State& state, const std::vector<T>& values, RoundOne round) {
  constexpr int kPasses = 1'000;
  for (auto _ : state) {
    for (int pass = 0; pass < kPasses; ++pass) {
      for (const T& value : values) benchmark::DoNotOptimize(round(value));
    }
  }
  state.SetItemsProcessed(state.iterations() * kPasses * static_cast<std::int64_t>(values.size()));
}

void RunSave(benchmark::State& state, const RecordSet& lines) {
  std::string text;
  for (auto _ : state) text = lines.SaveToString();
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kTextLineCount));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

void RunLoad(benchmark::State& state, const RecordSet& lines) {
  const std::string text = lines.SaveToString();
  RecordSet loaded;
  for (auto _ : state) loaded.LoadFromString(text);
  if (loaded.RecordCount() != kTextLineCount || loaded.SaveToString() != text) {
    state.SkipWithError("what was loaded is not what was saved");
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kTextLineCount));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}

// By article code and line number: an item is a line that was looked at.
void RunLocate(benchmark::State& state, RecordSet& lines, std::span<const PlainLine> plain) {
  constexpr std::size_t kStep = kTextLineCount / 20;
  std::int64_t looked_at = 0;
  for (auto _ : state) {
    for (std::size_t at = kStep - 1; at < kTextLineCount; at += kStep) {
      const bool found = lines.Locate("sifra;id", {std::string(plain[at].sifra.view()), plain[at].id});
      if (!found || lines.Position() != at) state.SkipWithError("the wrong line was located");
      looked_at += static_cast<std::int64_t>(at) + 1;
    }
  }
  state.SetItemsProcessed(looked_at);
}

}  // namespace

void RegisterMicroBenchmarks(Peers& peers) {
  // Prices times quantities, not rounded yet.
  std::vector<double> numbers;
  std::vector<Amount> amounts;
  for (const PlainLine& line : std::span(peers.Plain()).first(1'000)) {
    numbers.push_back(line.pc.ToDouble() * line.kolicina);
    amounts.push_back(line.pc * line.kolicina);
  }
  Register("my_round", [numbers](benchmark::State& state) {
    RunRounding(state, numbers, [](double value) { return MyRound(value, -2); });
  });
  Register("r2", [amounts](benchmark::State& state) {
    RunRounding(state, amounts, [](Amount amount) { return R2(amount); });
  });
  Register("save_to_string", [&](benchmark::State& state) { RunSave(state, peers.SomeLines()); });
  Register("load_from_string", [&](benchmark::State& state) { RunLoad(state, peers.SomeLines()); });
  Register("locate_two_keys",
           [&](benchmark::State& state) { RunLocate(state, peers.SomeLines(), peers.Plain()); });
}

}  // namespace mox::bench
