#include <gtest/gtest.h>

#include "mox/foundation/secrets.h"
#include "mox/foundation/visible_text.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(VisibleText, ShowsWhatATerminalWouldObey) {
  const std::pair<std::string_view, const char*> kCases[] = {
      {"Čaša 1 l „€“", "Čaša 1 l „€“"},
      {"a\tb\r\nc", "a\\x09b\\x0D\\nc"},
      {"\x1B[2J\x7F", "\\x1B[2J\\x7F"},
      {std::string_view("\0", 1), "\\x00"},
      {"\xC2\x9B"
       "2J\xC2\xA0š",
       "\\u009B2J\xC2\xA0š"},
      {"1\u202E2\u2066\u200F\u061C\u2028\uFEFF", "1\\u202E2\\u2066\\u200F\\u061C\\u2028\\uFEFF"},
      {"\xFF\xC4", "\\xFF\\xC4"},
      {"\u200D\u2010\u2030", "\u200D\u2010\u2030"},
  };
  for (const auto& [text, visible] : kCases) EXPECT_EQ(VisibleText(text), visible);
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
