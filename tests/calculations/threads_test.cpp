#include <gtest/gtest.h>

#include <thread>

#include "mox/calculations/document_lines.h"
#include "mox/host/memory_settings.h"
#include "mox/validations/validations.h"

// Threads with an application object each, which run under the thread sanitizer too.

namespace mox {
namespace {

// What a cash invoice line of three pieces at 1.00 costs with so many decimals of selling prices, in text:
// the price of a piece, and whether stock may become negative.
std::string Calculated(int decimals, int times) {
  MemorySettings settings;
  settings.WriteInteger("GENERAL", "PC_CALC_DIGIT", decimals);
  settings.WriteInteger("GENERAL", "LAGERNEGATIVE", decimals % 2);
  const ScopedApp app({.ini = &settings});
  SetConstraintsOnLager();
  RecordSet lines;
  for (const VocabularyEntry& entry : kVocabulary) lines.DefineField(entry.name, entry.kind);
  lines.Open();
  lines.AppendRecord({});
  lines.Edit();
  lines.Set(field::kolicina, 3);
  lines.Set(field::pc, Currency::FromScaled(3'333));
  lines.Set(field::tbr_stp, 25);
  for (int i = 0; i < times; ++i) {
    GotovinskiRacunStavkeCalcFields(lines, 2);
    PredracunStavkeCalcFields(lines, 2);
  }
  return lines[field::mpc].ToString() + (FWorkWithLagerNegative ? " negative" : "");
}

TEST(Threads, CalculateEachWithItsOwnSettings) {
  constexpr int kThreads = 4;
  std::string results[kThreads];
  {
    std::vector<std::jthread> threads;
    for (int i = 0; i < kThreads; ++i) {
      threads.emplace_back([&results, i] { results[i] = Calculated(i, 2'000); });
    }
  }
  EXPECT_EQ(results[0], "0.00");
  EXPECT_EQ(results[1], "0.40 negative");
  EXPECT_EQ(results[2], "0.42");
  EXPECT_EQ(results[3], "0.417 negative");
  EXPECT_FALSE(FWorkWithLagerNegative) << "of this thread";
  EXPECT_THROW(App(), Error);
}

}  // namespace
}  // namespace mox
