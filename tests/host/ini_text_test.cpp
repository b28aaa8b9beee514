#include "mox/host/ini_text.h"

#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

TEST(IniText, FollowsItsTables) {
  const auto changed = [](const Words& row) {
    IniText text(row.at(0));
    EXPECT_EQ(text.Bytes(), row[0]);
    text.Set("GENERAL", "KEY", "new");
    return text.Bytes();
  };
  const auto refused = [](const Words& row) {
    return IniText(row.at(0)).Set(row.at(1), row.at(2), row.at(3)), std::string();
  };
  const auto settings = [](const Words& row) {
    const IniText text(row.at(0));
    std::string shown;
    for (const auto& [key, value] : text.Settings(row.at(1))) shown += key + '=' + value + '|';
    for (const char* const key :
         {"kol_num", "no value", "quoted", "one", "two", "empty", "equals", "late", "OUTSIDE"}) {
      shown += ' ' + text.Find(row.at(1), key).value_or("none");
    }
    return shown;
  };
  ExpectTables("ini_text", {{"changes", changed}, {"refused", refused}, {"settings", settings}}, "host");
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
