#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "case_file.h"
#include "record_set_script.h"

namespace mox {
namespace {

TEST(RecordSetNavigation, FollowsScripts) {
  for (const char* table : {"moves", "edits", "leaves", "bookmarks", "filter"}) {
    ForEachCase<3>("navigation", table, [](auto& records, auto& script, auto& outcome) {
      RecordSet set = Letters(records);
      RunScript(set, script);
      EXPECT_EQ(Outcome(set), outcome);
    });
  }
}

TEST(RecordSetNavigation, StatesAllowWhatTheyAllow) {
  ForEachCase<3>("navigation", "refused", [](auto& records, auto& script, auto& message) {
    RecordSet set = Letters(records);
    const std::size_t last = script.rfind(' ') + 1;  // 0 where it is the only step
    RunScript(set, script.substr(0, last));
    EXPECT_THAT([&] { RunScript(set, script.substr(last)); }, testing::ThrowsMessage<StateError>(message));
  });
}

// Edits each record without posting it: a word with "!" so that it leaves the filter, another one so that it
// stays.
TEST(RecordSetNavigation, AWalkThatEditsVisitsEachRecordOnce) {
  ForEachCase<3>("navigation", "walks", [](auto& records, auto& visited, auto& outcome) {
    RecordSet set = Letters(records);
    set.SetFiltered(true);
    std::string words;
    for (set.First(); !set.Eof() && words.size() < 100; set.Next()) {
      const std::string word = set.AsText(0);
      words += (words.empty() ? "" : " ") + word;
      set.Edit();
      set.SetText(0, word.ends_with('!') ? "x" : word + "+");
    }
    EXPECT_EQ(words, visited);
    set.SetFiltered(false);
    set.First();
    EXPECT_EQ(Outcome(set), outcome);
  });
}

// Whatever leaves a record posts it when it was changed, and otherwise leaves no trace of it.
TEST(RecordSetNavigation, LeavesTheRecord) {
  const struct {
    const char* opening;
    const char* records;
  } openings[] = {{"N e =x ", "a x c"}, {"N e ", "a b c"}, {"N i =x ", "a x b c"}, {"N i ", "a b c"}};
  for (const std::string leaving : {"F", "N", "P", "L", "?a", "?z", "b g", "u", "a ~", "i ~"}) {
    for (const auto& opening : openings) {
      RecordSet set = Letters("a b c");
      RunScript(set, opening.opening + leaving);
      EXPECT_EQ(set.State(), DataSetState::kBrowse) << opening.opening << leaving;
      EXPECT_FALSE(set.IsModified());
      std::string outcome = Outcome(set);
      std::erase_if(outcome, [](char c) { return c == '[' || c == ']' || c == '<' || c == '>'; });
      EXPECT_EQ(outcome, opening.records) << opening.opening << leaving;
    }
  }
}

TEST(RecordSetNavigation, BookmarksOfRecordsBefore) {
  RecordSet set = Letters("a b");
  const auto bookmark = set.GetBookmark();
  set.LoadFromString(set.SaveToString());
  EXPECT_FALSE(set.GotoBookmark(*bookmark));
  const auto another = set.GetBookmark();
  set.CleanClone(Letters("a b"));
  EXPECT_FALSE(set.GotoBookmark(*another));
}

}  // namespace
}  // namespace mox
