#include "bench/codes_benchmarks.h"

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

#include "mox/codes/amount_in_words.h"
#include "mox/codes/control_digits.h"
#include "mox/codes/dates.h"

namespace mox::bench {
namespace {

constexpr std::size_t kCount = 10'000;
constexpr int kPasses = 100;
constexpr int kRepetitions = 7;
constexpr int kRepetitionsOfPeer = 3;
constexpr const char* kPython = "/usr/bin/python3 ";  // the one that finds Debian's packages

std::mt19937_64& Random() {
  static std::mt19937_64 random(20'240'301);
  return random;
}

std::string RandomDigits(int count) {
  std::string digits;
  for (int i = 0; i < count; ++i) digits += static_cast<char>('0' + Random()() % 10);
  return digits;
}

bool IsValidOib(const std::string& oib) { return CheckOIBvalidity(oib).empty(); }
bool IsValidIban(const std::string& iban) { return CheckIBANvalidity(iban); }

// Nine of ten have the right control digit.
std::string RandomOib() {
  std::string oib = RandomDigits(11);
  if (Random()() % 10 == 0) return oib;
  for (oib.back() = '0'; !IsValidOib(oib);) ++oib.back();
  return oib;
}

// Nine of ten have the right control digits, and half of them are typed with blanks.
std::string RandomIban() {
  std::string iban = "HR" + RandomDigits(19);
  if (Random()() % 10 != 0) {
    for (int control = 2; control <= 98 && !IsValidIban(iban); ++control) {
      iban[2] = static_cast<char>('0' + control / 10);
      iban[3] = static_cast<char>('0' + control % 10);
    }
  }
  if (Random()() % 2 == 0) {
    for (std::size_t at = 4; at < iban.size(); at += 5) iban.insert(at, " ");
  }
  return iban;
}

// Amounts of invoices, up to 99,999.99.
Currency RandomAmount() {
  return Currency::FromScaled(static_cast<std::int64_t>(Random()() % 10'000'000) * 100);
}

template <typename T>
std::vector<T> Many(T (*one)()) {
  std::vector<T> values(kCount);
  for (T& value : values) value = one();
  return values;
}

template <typename T, typename Answer>
void Register(const char* name, const std::vector<T>& values, Answer answer) {
  benchmark::RegisterBenchmark(
      name,
      [=](benchmark::State& state) {
        for (auto _ : state) {
          for (int pass = 0; pass < kPasses; ++pass) {
            for (const T& value : values) benchmark::DoNotOptimize(answer(value));
          }
        }
        state.SetItemsProcessed(state.iterations() * kPasses * static_cast<std::int64_t>(values.size()));
      })
      ->Iterations(1)
      ->Repetitions(kRepetitions);
}

// --- the peer ---

struct PeerAnswer {
  double seconds = 0;
  long valid = 0;
};

// Lets a Python process of its own check the numbers of a file; it prints its own time.
PeerAnswer AskPeer(const char* module, const std::string& file) {
  const std::string command =
      kPython + std::string(MOX_SOURCE_DIR "/bench/stdnum_peer.py ") + module + " '" + file + "'";
  FILE* const pipe = ::popen(command.c_str(), "r");
  PeerAnswer answer;
  const bool read = pipe != nullptr && std::fscanf(pipe, "%lf %ld", &answer.seconds, &answer.valid) == 2;
  if (pipe == nullptr || ::pclose(pipe) != 0 || !read) throw std::runtime_error("no answer from " + command);
  return answer;
}

void RegisterPeer(const char* name, const char* module, const std::vector<std::string>& numbers,
                  bool (*is_valid)(const std::string&)) {
  const std::string file =
      std::filesystem::temp_directory_path() / ("mox_bench_" + std::to_string(::getpid()) + module);
  {
    std::ofstream out(file);
    for (const std::string& number : numbers) out << number << '\n';
  }
  const auto valid = std::count_if(numbers.begin(), numbers.end(), is_valid);
  benchmark::RegisterBenchmark(
      name,
      [=](benchmark::State& state) {
        for (auto _ : state) {
          const PeerAnswer answer = AskPeer(module, file);
          state.SetIterationTime(answer.seconds);
          if (answer.valid != valid) state.SkipWithError("another verdict");
        }
        state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(kCount));
      })
      ->UseManualTime()
      ->Iterations(1)
      ->Repetitions(kRepetitionsOfPeer);
}

constexpr Ratio kRatios[] = {
    {"oib_stdnum", "codes/oib_stdnum", "codes/oib"},
    {"iban_stdnum", "codes/iban_stdnum", "codes/iban"},
    {"workdays_span", "codes/workdays_ten_thousand_years", "codes/workdays_month"},
};

struct Speed {
  const char* name;
  const char* benchmark;
};

constexpr Speed kMillionsPerSecond[] = {
    {"oib_speed", "codes/oib"}, {"iban_speed", "codes/iban"}, {"words_speed", "codes/words"}};

}  // namespace

void RegisterCodesBenchmarks() {
  const std::vector<std::string> oibs = Many(RandomOib);
  const std::vector<std::string> ibans = Many(RandomIban);
  Register("codes/oib", oibs, [](const std::string& oib) { return CheckOIBvalidity(oib); });
  Register("codes/iban", ibans, [](const std::string& iban) { return CheckIBANvalidity(iban); });
  Register("codes/words", Many(RandomAmount), [](Currency amount) { return BrojSlovima(amount, "EUR"); });

  const DateTime first = StartOf(*MakeDate(1, 1, 1));
  const std::vector<DateTime> month(kCount, {first.milliseconds + 30 * kMillisecondsPerDay});
  const std::vector<DateTime> years(kCount, StartOf(*MakeDate(9999, 12, 31)));
  const auto working_days = [first](DateTime to) { return WorkingDaysBetween(first, to); };
  Register("codes/workdays_month", month, working_days);
  Register("codes/workdays_ten_thousand_years", years, working_days);

  if (std::system((kPython + std::string("-c 'import stdnum' 2>/dev/null")).c_str()) != 0) {
    std::printf("python3-stdnum is not installed and not compared\n");
    return;
  }
  RegisterPeer("codes/oib_stdnum", "hr.oib", oibs, IsValidOib);
  RegisterPeer("codes/iban_stdnum", "iban", ibans, IsValidIban);
}

void PrintCodesRatios(const Measurements& measurements) {
  for (const Ratio& ratio : kRatios) measurements.PrintRatio(ratio);
  for (const Speed& speed : kMillionsPerSecond) {
    const auto nanoseconds = measurements.Fastest(speed.benchmark);
    if (nanoseconds) std::printf("ratio %s %.2f\n", speed.name, 1'000 / *nanoseconds);
  }
}

}  // namespace mox::bench
