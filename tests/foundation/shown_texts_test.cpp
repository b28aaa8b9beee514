#include <gtest/gtest.h>

#include "mox/foundation/secrets.h"
#include "mox/foundation/visible_text.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(VisibleText, ShowsNoMoreOfAMessageThanCanBeRead) {
  const std::string message = "a.csv:2: \"" + std::string(100'000, 'x') + "\" is not a number";
  const std::string shown = VisibleMessage(message);
  EXPECT_LT(shown.size(), 1000U);
  EXPECT_TRUE(shown.starts_with("a.csv:2: \"xx") && shown.ends_with("x\" is not a number")) << shown;
}

TEST(Secrets, AreBlankedInEveryForm) {
  Secrets known;
  known.Add("taj\"na/Č");
  known.Add("abc");
  ExpectTables("secrets", {{"texts", [&](auto& row) { return known.Blanked(row.at(0)); }},
                           {"addresses", [](auto& row) {
                              Secrets secrets;
                              secrets.AddThoseOf(row.at(0));
                              return secrets.Blanked(row.at(0));
                            }}});
}

}  // namespace
}  // namespace mox
