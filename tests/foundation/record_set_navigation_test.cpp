#include <gtest/gtest.h>

#include "record_set_script.h"

namespace mox {
namespace {

// Rows of "script -> outcome".
void Expect(const char* records, std::initializer_list<std::string> rows) {
  for (const std::string& row : rows) {
    const std::size_t arrow = row.find(" -> ");
    RecordSet set = Letters(records);
    RunScript(set, row.substr(0, arrow));
    EXPECT_EQ(Outcome(set), row.substr(arrow + 4)) << "\"" << records << "\" " << row;
  }
}

TEST(RecordSetNavigation, Moves) {
  Expect("", {"F N P L -> <>"});
  Expect("a", {" -> <[a]", "L N -> [a]>", "P -> <[a]"});
  Expect("a b c",
         {"N -> a [b] c", "N N -> a b [c]", "N N N -> a b [c]>", "N N N N P -> a [b] c", "N P -> [a] b c",
          "N P P P -> <[a] b c", "L -> a b [c]>", "L F -> <[a] b c", "L ?c -> a b [c]", "L ?z -> a b [c]>"});
}

TEST(RecordSetNavigation, InsertsEditsAndDeletes) {
  Expect("", {"i =x . -> [x]", "a =x . -> [x]", "a =x ~ -> <>"});
  Expect("a", {"D -> <>", "D a =x . -> [x]"});
  Expect("a b c", {"i =x . -> [x] a b c", "N i =x . -> a [x] b c", "N a =x . -> a b c [x]",
                   "N i =x -> a [b] c insert:x", "N i =x ~ -> a [b] c", "N i =x i =y . -> a [y] x b c",
                   "N i =x a =y . -> a x b c [y]", "L i =x . i =y . -> a b [y] x c",
                   "N e =x -> a [b] c edit:x", "N e =x . -> a [x] c", "N e =x e =y ~ -> a [b] c",
                   "N e =x ~ e =y . -> a [y] c", "D -> [b] c", "N D -> a [c]", "L D -> a [b]",
                   "N D i =x . -> a [x] c", "N e =x D -> a [c]", "N i =x D -> a [b] c", "N C a =x . -> [x]"});
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
  Expect("a b c", {"N i =x N -> a x [b] c", "N i =x P -> [a] x b c", "N i N -> a b [c]"});
  Expect("a b c", {"a =x N -> a b c [x]>", "N e =x ?x -> a [x] c", "a =x C -> <>", "e =x C -> <>"});
}

TEST(RecordSetNavigation, Bookmarks) {
  Expect("", {"g -> <>"});
  Expect("a b c", {"N b L g -> a [b] c", "N b F i =x . i =y . g -> y x a [b] c", "L b F D g -> b [c]",
                   "N b e =x . F g -> a [x] c", "N b D g -> a [c]", "N b D a =x . F g -> <[a] c x",
                   "N b C a =x . a =y . a =z . F g -> <[x] y z", "N i =x b L g -> a [x] b c",
                   "N i b F g -> <[a] b c"});
  RecordSet set = Letters("a b");
  const auto bookmark = set.GetBookmark();
  set.LoadFromString(set.SaveToString());
  EXPECT_FALSE(set.GotoBookmark(*bookmark)) << "of the records before";
  const auto another = set.GetBookmark();
  set.CleanClone(Letters("a b"));
  EXPECT_FALSE(set.GotoBookmark(*another));
}

TEST(RecordSetNavigation, Filter) {
  Expect("b c", {"f F N P L -> <>", "f u -> <[b] c", "f i =a9 . u -> b c [a9]", "f i =x . -> <>"});
  Expect("a1 b a2",
         {"L f -> a1 [a2]", "N f -> <[a1] a2", "L f u -> a1 b [a2]", "L f ?b -> a1 [a2]",
          "N b f g -> <[a1] a2", "L b F f g -> a1 [a2]", "f N e =a9 . -> a1 [a9]", "f e =x . -> [a2]",
          "f N e =x . -> [a1]", "f N e =x N -> [a1]>", "f e =x N -> [a2]", "f N e =x ~ -> a1 [a2]",
          "f e =x . e =x . -> <>", "f N i =a9 . -> a1 [a9] a2", "f N i =a9 . u -> a1 b [a9] a2",
          "f N i =x . -> a1 [a2]", "f N i =x . u -> a1 b x [a2]", "f N D u -> [a1] b", "f C u -> <>"});
  Expect("a1 b a2 c",
         {"f a =a9 . -> a1 a2 [a9]", "f a =a9 . u -> a1 b a2 c [a9]", "f a =x . u -> [a1] b a2 c x"});
}

}  // namespace
}  // namespace mox
