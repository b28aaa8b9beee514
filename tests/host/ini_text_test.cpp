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

// What a write of KEY=new into section GENERAL makes of a text, byte for byte.
TEST(IniText, ChangesNothingButTheSetting) {
  const struct {
    const char* before;
    const char* after;
  } rows[] = {{"", "[GENERAL]\nKEY=new\n"},
              {"; c\n\n\n[general]\n  key = old  \nX=1\n", "; c\n\n\n[general]\n  key = new\nX=1\n"},
              {"[GENERAL]\r\nKEY=old\r\nX=1", "[GENERAL]\r\nKEY=new\r\nX=1"},
              {"[GENERAL]\nKEY=old", "[GENERAL]\nKEY=new"},
              {"[GENERAL]\nKEY=first\nKEY=second\n", "[GENERAL]\nKEY=new\nKEY=second\n"},
              {"[GENERAL]\n;KEY=old\nKEY\n[B]\n", "[GENERAL]\nKEY=new\n;KEY=old\nKEY\n[B]\n"},
              {"[GENERAL]\nX=1\n\n; about B\n[B]\n", "[GENERAL]\nX=1\nKEY=new\n\n; about B\n[B]\n"},
              {"[GENERAL]\n\t X : a = 1\n", "[GENERAL]\n\t X : a = 1\n\t KEY = new\n"},
              {"[GENERAL]\nX=1", "[GENERAL]\nX=1\nKEY=new\n"},
              {"[GENERAL]\nX=1\n[B]\n[GENERAL]\nKEY=old\n", "[GENERAL]\nX=1\n[B]\n[GENERAL]\nKEY=new\n"},
              {"[GENERAL]\n[B]\nX=1\n[GENERAL]\nY=2\n", "[GENERAL]\nKEY=new\n[B]\nX=1\n[GENERAL]\nY=2\n"},
              {"[B]\r\nKEY=1", "[B]\r\nKEY=1\r\n\r\n[GENERAL]\r\nKEY=new\r\n"},
              {"[B]\n\n", "[B]\n\n[GENERAL]\nKEY=new\n"},
              {"\xEF\xBB\xBF[GENERAL]\nKEY=\xC5\xBE\n", "\xEF\xBB\xBF[GENERAL]\nKEY=new\n"},
              {"# \x9E\x81\n[GENERAL]\nX=\x8A\n", "# \x9E\x81\n[GENERAL]\nX=\x8A\nKEY=new\n"}};
  for (const auto& row : rows) {
    IniText text(row.before);
    EXPECT_EQ(text.Bytes(), row.before);
    text.Set("GENERAL", "KEY", "new");
    EXPECT_EQ(text.Bytes(), row.after);
  }
  IniText text("; top\n[GENERAL]\n");
  text.Set("", "KEY", "new");
  EXPECT_EQ(text.Bytes(), "KEY=new\n; top\n[GENERAL]\n");
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

TEST(IniText, RefusesWhatItCannotHold) {
  constexpr const char* kWindows1250 = "A=\x9E\nB=\xC5\xBE\n";  // B alone would be valid UTF-8
  constexpr std::string_view kLineBreak = " cannot hold a line break or a NUL";
  const struct {
    const char* text;
    const char* section;
    const char* key;
    std::string value;
    std::string error;
  } rows[] = {
      {"", "S]", "K", "", "! a section's name \"S]\" cannot hold ']'"},
      {"", "S\n", "K", "", "! a section's name" + std::string(kLineBreak)},
      {"", " S", "K", "", "! a section's name \" S\" cannot begin or end with a blank"},
      {"", "S", "", "", "! a key cannot be empty"},
      {"", "S", "K=", "", "! a key \"K=\" cannot hold '='"},
      {"", "S", "K\r", "", "! a key" + std::string(kLineBreak)},
      {"", "S", "K ", "", "! a key \"K \" cannot begin or end with a blank"},
      {"", "S", ";K", "", "! a key \";K\" cannot begin with ';', '#' or '['"},
      {"", "S", "#K", "", "! a key \"#K\" cannot begin with ';', '#' or '['"},
      {"", "S", "[K", "", "! a key \"[K\" cannot begin with ';', '#' or '['"},
      {"", "S", "K", "a\nb", "! a value" + std::string(kLineBreak)},
      {"", "S", "K", "a\r", "! a value" + std::string(kLineBreak)},
      {"", "S", "K", std::string("a\0b", 3), "! a value" + std::string(kLineBreak)},
      {"", "S", "K", "\xE8", "!ConversionError \"\xE8\" is not valid UTF-8"},
      {kWindows1250, "Ω", "A", "",
       "!ConversionError \"Ω\" (U+03A9) at position 1 is not a character of Windows-1250"},
      {kWindows1250, "", "A", "Ω",
       "!ConversionError \"Ω\" (U+03A9) at position 1 is not a character of Windows-1250"},
      {kWindows1250, "", "A", "ascii", "! the text would not be read back as it was written"},
      {"\xFF\xFE[", "", "A", "", "! the text is UTF-16; only UTF-8 and Windows-1250 are read"},
      {"\xFE\xFF[", "", "A", "", "! the text is UTF-16; only UTF-8 and Windows-1250 are read"},
  };
  for (const auto& row : rows) {
    const auto set = [&row] { return IniText(row.text).Set(row.section, row.key, row.value), std::string(); };
    EXPECT_EQ(TextOrError(set, true), row.error);
  }
  EXPECT_THROW(IniText(std::string_view("[GENERAL]\nKOL_NUM=2\n\0", 21)), Error);
}

}  // namespace
}  // namespace mox
