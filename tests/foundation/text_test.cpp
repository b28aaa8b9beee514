#include "mox/foundation/text.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "mox/foundation/error.h"

namespace mox {
namespace {

using namespace std::string_literals;

TEST(Text, CountsAndCutsCharacters) {
  const struct {
    std::string text;
    std::size_t characters;
    std::string first_two;
    bool valid = true;
  } rows[] = {
      {"", 0, ""},
      {"a€b", 3, "a€"},
      {"𝄞č€", 3, "𝄞č"},
      {"a\0b"s, 3, "a\0"s},
      {"\xF4\x8F\xBF\xBFx", 2, "\xF4\x8F\xBF\xBFx"},               // the last of Unicode
      {"\xC4", 1, "\xC4", false},                                  // cut off inside č
      {"a\xE2\x82", 3, "a\xE2", false},                            // cut off inside €
      {"\xE2\x82"s + "ab", 4, "\xE2\x82", false},                  // the same before a letter
      {"\x8D\xC4\x8D", 2, "\x8D\xC4\x8D", false},                  // a stray continuation, then č
      {"\xC0\x80", 2, "\xC0\x80", false},                          // overlong
      {"\xF0\x8F\xBF\xBF", 4, "\xF0\x8F", false},                  // overlong
      {"\xED\xA0\x80", 3, "\xED\xA0", false},                      // a surrogate
      {"\xF4\x90\x80\x80", 4, "\xF4\x90", false},                  // beyond Unicode
      {"\xF8\x88\x80\x80\x80", 5, "\xF8\x88", false},              // five bytes
      {"\xE8\xE6\x9E", 3, "\xE8\xE6", false},                      // čćž of Windows-1250
      {"\xEE\x80\x80\xEF\xBF\xBD", 2, "\xEE\x80\x80\xEF\xBF\xBD"}  // beside the surrogates; replacement
  };
  for (const auto& row : rows) {
    EXPECT_EQ(CountCharacters(row.text), row.characters) << row.text;
    EXPECT_EQ(CutToCharacters(row.text, 2), row.first_two) << row.text;
    EXPECT_EQ(CutToCharacters(row.text, row.characters), row.text) << row.text;
    EXPECT_EQ(IsValidUtf8(row.text), row.valid) << row.text;
  }
  EXPECT_EQ(CutToCharacters("čč", 0), "");
}

TEST(Text, FoldsLetterCase) {
  const struct {
    const char* text;
    const char* folded;
  } rows[] = {
      {"@AZ[`az{09", "@az[`az{09"},
      {"ČĆĐŠŽ čćđšž", "čćđšž čćđšž"},
      {"ǄǅǆǇǈǉǊǋǌ", "ǆǆǆǉǉǉǌǌǌ"},
      {"ÀÖ×ØÞßÿŸ", "àö×øþßÿÿ"},
      {"ĀĮİıĲĶĸĹŇŉŊŶŹŽſ", "āįİıĳķĸĺňŉŋŷźžs"},
      {"ǍǛǝǞǮǱǲǴǸȞȢȲ", "ǎǜǝǟǯǳǳǵǹȟȣȳ"},
      {"ΆΈΊΌΎΏΑΡΣΫς", "άέίόύώαρσϋσ"},
      {"ЀЏАЯабвѠҀҊӀӁӍӐ", "ѐџаяабвѡҁҋӏӂӎӑ"},
      {"ḀẔẞẠỾ", "ḁẕßạỿ"},
      {"ΩKÅ€№漢𝄞", "ωkå€№漢𝄞"},
      {"\xC4\x8C\xC8\xC4", "\xC4\x8D\xC8\xC4"},  // Č, then stray bytes
  };
  for (const auto& row : rows) {
    EXPECT_EQ(FoldCase(row.text), row.folded);
    EXPECT_TRUE(EqualsIgnoringCase(row.text, row.folded)) << row.text;
    EXPECT_EQ(FoldCase(row.folded), row.folded);
  }
}

TEST(Text, ComparesWithoutRegardToCase) {
  const struct {
    std::string a;
    std::string b;
    bool equal;
    bool same_name;
  } rows[] = {{"", "", true, true},
              {"pdvICalc_Digit", "PdviCalc_digit", true, true},
              {"ŠKOLA", "škola", true, false},  // names know the letters A to Z only
              {"ſ", "S", true, false},          // of different length
              {"abc", "ab", false, false},
              {"a[", "a{", false, false},  // 32 apart, but no letters
              {"@", "`", false, false},
              {"č", "c", false, false},
              {"è", "\xE8", false, false},  // a character and the stray byte of the same number
              {"\xE8", "\xE8", true, true},
              {"\xE8", "\xC8", false, false},
              {"a\0b"s, "a\0c"s, false, false}};
  for (const auto& row : rows) {
    EXPECT_EQ(EqualsIgnoringCase(row.a, row.b), row.equal) << row.a << " " << row.b;
    EXPECT_EQ(EqualsIgnoringCase(row.b, row.a), row.equal) << row.b << " " << row.a;
    EXPECT_EQ(SameName(row.a, row.b), row.same_name) << row.a << " " << row.b;
  }
}

TEST(Text, TrimsBlanksAtTheEnds) {
  EXPECT_EQ(TrimBlanks(" \t\r\na b\n "), "a b");
  EXPECT_EQ(TrimBlanks(" \t"), "");
  EXPECT_EQ(TrimBlanks("\u00a0x"), "\u00a0x");
}

TEST(Text, ConvertsEveryByteOfWindows1250) {
  const std::string undefined = "\x81\x83\x88\x90\x98";
  const std::string upper_half =
      "€‚„…†‡‰Š‹ŚŤŽŹ"
      "‘’“”•–—™š›śťžź"
      "\u00a0ˇ˘Ł¤Ą¦§¨©Ş«¬\u00ad®Ż"
      "°±˛ł´µ¶·¸ąş»Ľ˝ľż"
      "ŔÁÂĂÄĹĆÇČÉĘËĚÍÎĎ"
      "ĐŃŇÓÔŐÖ×ŘŮÚŰÜÝŢß"
      "ŕáâăäĺćçčéęëěíîď"
      "đńňóôőö÷řůúűüýţ˙";
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) {
    const char c = static_cast<char>(static_cast<unsigned char>(byte));
    if (undefined.find(c) == std::string::npos) bytes += c;
  }
  EXPECT_EQ(FromWindows1250(bytes), bytes.substr(0, 128) + upper_half);
  EXPECT_EQ(ToWindows1250(FromWindows1250(bytes)), bytes);
  EXPECT_EQ(FromWindows1250("a\x81z" + undefined), "a\uFFFDz\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD");
}

TEST(Text, NamesTheCharacterThatWindows1250CannotHold) {
  const struct {
    const char* text;
    const char* message;
  } rows[] = {{"ČΩ", "\"Ω\" (U+03A9) at position 2 is not a character of Windows-1250"},
              {"\uFFFD", "\"\uFFFD\" (U+FFFD) at position 1 is not a character of Windows-1250"},
              {"ab\xE8", "byte 0xE8 at position 3 is not a character of Windows-1250"}};
  for (const auto& row : rows) {
    try {
      ToWindows1250(row.text);
      ADD_FAILURE() << row.text;
    } catch (const ConversionError& error) {
      EXPECT_STREQ(error.what(), row.message);
    }
  }
}

TEST(Text, ShowsNumbersShortestAndReadsThemBack) {
  using Limits = std::numeric_limits<double>;
  const struct {
    double value;
    const char* text;
  } rows[] = {{0.0, "0"},
              {-0.0, "0"},
              {-0.1, "-0.1"},
              {0.1 + 0.2, "0.30000000000000004"},
              {1e-7, "0.0000001"},
              {0.99e-7, "9.9e-08"},
              {0x1p53, "9007199254740992"},
              {99999999999999984.0, "99999999999999984"},
              {1e17, "1e+17"},
              {Limits::max(), "1.7976931348623157e+308"},
              {-Limits::denorm_min(), "-5e-324"}};
  for (const auto& row : rows) {
    EXPECT_EQ(ShortestNumber(row.value), row.text);
    EXPECT_EQ(ParseNumber(row.text), row.value) << row.text;
  }
  EXPECT_THROW(ShortestNumber(Limits::infinity()), Overflow);
  EXPECT_THROW(ShortestNumber(Limits::quiet_NaN()), Overflow);
}

TEST(Text, ReadsNothingButNumbers) {
  EXPECT_EQ(ParseNumber("+1.5e1"), 15.0);
  EXPECT_EQ(ParseNumber(".5"), 0.5);
  EXPECT_EQ(ParseInteger("+007"), 7);
  EXPECT_EQ(ParseInteger("-9223372036854775808"), std::numeric_limits<std::int64_t>::min());
  EXPECT_THROW(ParseInteger("9223372036854775808"), Overflow);
  EXPECT_THROW(ParseNumber("1e309"), Overflow);
  for (const char* text :
       {"", "+", "+-1", "++1", " 1", "1 ", "1,5", "0x10", "inf", "+inf", "-nan", "1e309x"}) {
    EXPECT_THROW(ParseNumber(text), ConversionError) << text;
    EXPECT_THROW(ParseInteger(text), ConversionError) << text;
  }
  for (const char* text : {"12.0", "1e3"}) EXPECT_THROW(ParseInteger(text), ConversionError) << text;
}

}  // namespace
}  // namespace mox
