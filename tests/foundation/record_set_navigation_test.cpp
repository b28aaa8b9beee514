#include <gtest/gtest.h>

#include "record_set_script.h"

namespace mox {
namespace {

struct Walk {
  const char* records;
  const char* script;
  const char* outcome;
};

void Expect(std::initializer_list<Walk> rows) {
  for (const Walk& row : rows) {
    RecordSet set = Letters(row.records);
    RunScript(set, row.script);
    EXPECT_EQ(Outcome(set), row.outcome) << "\"" << row.records << "\" " << row.script;
  }
}

TEST(RecordSetNavigation, Moves) {
  Expect({{"", "F N P L", "<>"},
          {"a", "", "<[a]"},
          {"a", "L N", "[a]>"},
          {"a b c", "N", "a [b] c"},
          {"a b c", "N N", "a b [c]"},
          {"a b c", "N N N", "a b [c]>"},
          {"a b c", "N N N N P", "a [b] c"},
          {"a b c", "N P", "[a] b c"},
          {"a b c", "N P P P", "<[a] b c"},
          {"a b c", "L", "a b [c]>"},
          {"a b c", "L F", "<[a] b c"},
          {"a b c b", "?b", "a [b] c b"},
          {"a b c", "L ?c", "a b [c]"},
          {"a b c", "N ?z", "a [b] c"},
          {"a b c", "L ?z", "a b [c]>"}});
}

TEST(RecordSetNavigation, InsertsAppendsAndDeletes) {
  Expect({{"", "i =x .", "[x]"},
          {"", "a =x .", "[x]"},
          {"", "a =x ~", "<>"},
          {"a b c", "i =x .", "[x] a b c"},
          {"a b c", "N i =x .", "a [x] b c"},
          {"a b c", "N a =x .", "a b c [x]"},
          {"a b c", "N i", "a [b] c insert:"},
          {"a b c", "N i =x", "a [b] c insert:x"},
          {"a b c", "N i =x ~", "a [b] c"},
          {"a b c", "N i i =x .", "a [x] b c"},
          {"a b c", "N i =x i =y .", "a [y] x b c"},
          {"a b c", "N i =x a =y .", "a x b c [y]"},
          {"a b c", "L i =x . i =y .", "a b [y] x c"},
          {"a b c", "D", "[b] c"},
          {"a b c", "N D", "a [c]"},
          {"a b c", "L D", "a [b]"},
          {"a", "D", "<>"},
          {"a b", "D D a =x .", "[x]"},
          {"a b c", "N D i =x .", "a [x] c"},
          {"a b c", "N e =x D", "a [c]"},
          {"a b c", "N i =x D", "a [b] c"},  // of an insert nothing but itself is deleted
          {"a b c", "N C", "<>"},
          {"a b c", "N C a =x .", "[x]"}});
}

TEST(RecordSetNavigation, EditsPostsAndCancels) {
  Expect({{"a b c", "N e =x", "a [b] c edit:x"},
          {"a b c", "N e =x .", "a [x] c"},
          {"a b c", "N e =x ~", "a [b] c"},
          {"a b c", "N e =x e =y ~", "a [b] c"},  // a second edit is the same one
          {"a b c", "N e =x ~ e =y .", "a [y] c"},
          {"a b c", "N ~ N", "a b [c]"}});
}

// Whatever leaves a record posts it when it was changed, and otherwise leaves no trace of it.
TEST(RecordSetNavigation, LeavesTheRecord) {
  const struct {
    const char* opening;
    const char* records;
  } openings[] = {{"N e =x", "a x c"}, {"N e", "a b c"}, {"N i =x", "a x b c"}, {"N i", "a b c"}};
  for (const char* leaving : {"F", "N", "P", "L", "?a", "?z", "b g", "u", "a ~", "i ~"}) {
    for (const auto& opening : openings) {
      RecordSet set = Letters("a b c");
      RunScript(set, std::string(opening.opening) + " " + leaving);
      EXPECT_EQ(set.State(), DataSetState::kBrowse) << opening.opening << " " << leaving;
      EXPECT_FALSE(set.IsModified());
      std::string outcome = Outcome(set);
      std::erase_if(outcome, [](char c) { return c == '[' || c == ']' || c == '<' || c == '>'; });
      EXPECT_EQ(outcome, opening.records) << opening.opening << " " << leaving;
    }
  }
  Expect({{"a b c", "N i =x N", "a x [b] c"},
          {"a b c", "N i =x P", "[a] x b c"},
          {"a b c", "N i N", "a b [c]"},
          {"a b c", "a =x N", "a b c [x]>"},
          {"a b c", "N i =x F", "<[a] x b c"},
          {"a b c", "N e =x ?x", "a [x] c"},
          {"a b c", "a =x C", "<>"},
          {"a b c", "e =x C", "<>"}});
}

TEST(RecordSetNavigation, Bookmarks) {
  Expect({{"a b c", "N b L g", "a [b] c"},
          {"a b c", "N b F i =x . i =y . g", "y x a [b] c"},
          {"a b c", "N b N i =x . F g", "a [b] x c"},
          {"a b c", "L b F D g", "b [c]"},
          {"a b c", "N b e =x . F g", "a [x] c"},
          // its record is gone: nothing moves, also when another record took the place
          {"a b c", "N b D g", "a [c]"},
          {"a b c", "N b D a =x . F g", "<[a] c x"},
          {"a b c", "N b C a =x . a =y . a =z . F g", "<[x] y z"}});
  RecordSet empty = Letters("");
  EXPECT_FALSE(empty.GetBookmark());
  EXPECT_FALSE(empty.GotoBookmark({}));
}

TEST(RecordSetNavigation, Filter) {
  Expect({{"a1 b a2", "L f", "a1 [a2]"},  // the current record stays where it is visible
          {"a1 b a2", "N f", "<[a1] a2"},
          {"a1 b a2", "L f u", "a1 b [a2]"},
          {"b c", "f", "<>"},
          {"b c", "f F N P L", "<>"},
          {"b c", "f u", "<[b] c"},
          {"a1 b a2", "L f ?b", "a1 [a2]"},
          {"a1 b a2", "N b f g", "<[a1] a2"},
          {"a1 b a2", "L b F f g", "a1 [a2]"},
          // posting inside
          {"a1 b a2", "f N e =a9 .", "a1 [a9]"},
          {"a1 b a2 c a3", "f N e =x .", "a1 [a3]"},
          {"a1 b a2", "f N e =x .", "[a1]"},
          {"a1 b a2", "f N e =x N", "[a1]>"},
          {"a1 b a2", "f N e =x ~", "a1 [a2]"},
          {"a1 b", "f e =x .", "<>"},
          {"a1 b", "f e =x . u", "<[x] b"},
          {"a1 b a2 c", "f a =a9 .", "a1 a2 [a9]"},
          {"a1 b a2 c", "f a =a9 . u", "a1 b a2 c [a9]"},
          {"a1 b a2 c", "f a =x .", "[a1] a2"},
          {"a1 b a2 c", "f a =x . u", "[a1] b a2 c x"},
          {"a1 b a2", "f N i =a9 .", "a1 [a9] a2"},
          {"a1 b a2", "f N i =a9 . u", "a1 b [a9] a2"},
          {"a1 b a2", "f N i =x .", "a1 [a2]"},
          {"a1 b a2", "f N i =x . u", "a1 b x [a2]"},
          {"b c", "f i =a9 . u", "b c [a9]"},
          {"b c", "f i =x .", "<>"},
          {"a1 b a2 c a3", "f N D", "a1 [a3]"},
          {"a1 b a2 c a3", "f N D u", "a1 b c [a3]"},
          {"b a1", "f D", "<>"},
          {"a1 b a2", "f C u", "<>"}});
}

}  // namespace
}  // namespace mox
