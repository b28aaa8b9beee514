#include "mox/host/ini_text.h"

#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(IniText, ReadsSettings) {
  const IniText text(
      "outside = 1\r\n"
      "; KOL_NUM=9\n"
      "[ General ] ; the rest does not count\n"
      "  KOL_NUM\t= 3 ; no comment \n"
      "KOL_NUM=4\n"
      "no value\n"
      "=no key\n"
      "QUOTED=\"  A4 \"\n"
      "ONE=\"\n"
      "TWO=\"\"\n"
      "EMPTY=\n"
      "EQUALS=a=b#c\n"
      "[damaged\n"
      "[Other]\n"
      "KOL_NUM=5\n"
      "[GENERAL]\n"
      "KOL_NUM=6\n"
      "LATE=7");
  const auto value = [&](const char* section, const char* key) {
    return text.Find(section, key).value_or("none");
  };
  EXPECT_EQ(value("", "OUTSIDE"), "1");
  EXPECT_EQ(value("GENERAL", "kol_num"), "3 ; no comment");
  EXPECT_EQ(value("GENERAL", "no value"), "none");
  EXPECT_EQ(value("GENERAL", "QUOTED"), "  A4 ");
  EXPECT_EQ(value("GENERAL", "ONE"), "\"");
  for (const char* const key : {"EMPTY", "TWO"}) EXPECT_EQ(value("GENERAL", key), "") << key;
  EXPECT_EQ(value("GENERAL", "EQUALS"), "a=b#c");
  EXPECT_EQ(value("Other", "KOL_NUM"), "5");
  for (const char* section : {"", "damaged"}) EXPECT_EQ(value(section, "KOL_NUM"), "none");
  EXPECT_EQ(value("Other", "LATE"), "none");
  using Pairs = std::vector<std::pair<std::string, std::string>>;
  EXPECT_EQ(text.Settings("other"), (Pairs{{"KOL_NUM", "5"}}));
  EXPECT_EQ(text.Settings("GENERAL"), (Pairs{{"KOL_NUM", "3 ; no comment"},
                                             {"QUOTED", "  A4 "},
                                             {"ONE", "\""},
                                             {"TWO", ""},
                                             {"EMPTY", ""},
                                             {"EQUALS", "a=b#c"},
                                             {"LATE", "7"}}));
}

TEST(IniText, ChangesNothingButTheSetting) {
  const auto changed = [](const Words& row) {
    IniText text(row.at(0));
    EXPECT_EQ(text.Bytes(), row[0]);
    text.Set("GENERAL", "KEY", "new");
    return text.Bytes();
  };
  const auto refused = [](const Words& row) {
    return IniText(row.at(0)).Set(row.at(1), row.at(2), row.at(3)), std::string();
  };
  ExpectTables("ini_text", {{"changes", changed}, {"refused", refused}}, "host");
  IniText text("; top\n[GENERAL]\n");
  text.Set("", "KEY", "new");
  EXPECT_EQ(text.Bytes(), "KEY=new\n; top\n[GENERAL]\n");
  EXPECT_THROW(IniText(std::string_view("[GENERAL]\nKOL_NUM=2\n\0", 21)), Error);
}

TEST(IniText, GivesBackEveryValueItTakes) {
  for (const char* start : {"", "[GENERAL]\r\nKEY = \"old\"\r\n", "\xEF\xBB\xBF; \xC5\xBE\n", "; \x9E\n"}) {
    for (const char* value :
         {"", " ", "a", " a", "a\t", "\"", "\"\"", "\"a\"", "\"a", "a\"b", "'a'", ";a", "#a", "[a]", "a=b",
          "=", "#,0.00;-#,0.00", "Šćepan Žgela – đačić €", "\u00a0a"}) {
      IniText text(start);
      text.Set("Š X", "Ključ 1", value);
      text.Set("GENERAL", "KEY", value);
      for (const IniText& read : {text, IniText(text.Bytes())}) {
        EXPECT_EQ(read.Find("Š X", "Ključ 1"), value) << text.Bytes();
        EXPECT_EQ(read.Find("GENERAL", "KEY"), value) << text.Bytes();
      }
    }
  }
}

}  // namespace
}  // namespace mox
