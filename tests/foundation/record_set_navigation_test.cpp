#include <gtest/gtest.h>

#include "case_file.h"
#include "record_set_script.h"

namespace mox {
namespace {

TEST(RecordSetNavigation, FollowsScripts) {
  const TableFunction run = [](const Words& row) {
    RecordSet set = Letters(row.at(0));
    RunScript(set, row.at(1));
    return Outcome(set);
  };
  // Edits each record without posting it: a word with "!" so that it leaves the filter, another so that it
  // stays.
  const TableFunction walk = [](const Words& row) {
    RecordSet set = Letters(row.at(0));
    set.SetFiltered(true);
    std::string words;
    for (set.First(); !set.Eof() && words.size() < 100; set.Next()) {
      const std::string word = set.AsText(0);
      words += word + " ";
      set.Edit();
      set.SetText(0, word.ends_with('!') ? "x" : word + "+");
    }
    set.SetFiltered(false);
    set.First();
    return words + "leave " + Outcome(set);
  };
  ExpectTables("navigation", {{"moves", run},
                              {"edits", run},
                              {"leaves", run},
                              {"bookmarks", run},
                              {"filter", run},
                              {"refused", run},
                              {"walks", walk}});
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
