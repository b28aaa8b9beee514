#include "mox/foundation/text.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "case_file.h"

namespace mox {
namespace {

TEST(Text, CountsAndCutsCharacters) {
  ForEachCase<4>("text", "characters", [](auto& text, auto& count, auto& first_two, auto& valid) {
    EXPECT_EQ(std::to_string(CountCharacters(text)), count);
    EXPECT_EQ(CutToCharacters(text, 0), "");
    EXPECT_EQ(CutToCharacters(text, 2), first_two);
    EXPECT_EQ(CutToCharacters(text, CountCharacters(text)), text);
    EXPECT_EQ(IsValidUtf8(text), valid == "valid");
  });
}

TEST(Text, FoldsLetterCase) {
  ForEachCase<2>("text", "folded", [](auto& text, auto& folded) {
    EXPECT_EQ(FoldCase(text), folded);
    EXPECT_TRUE(EqualsIgnoringCase(text, folded));
    EXPECT_EQ(FoldCase(folded), folded);
  });
}

TEST(Text, ComparesWithoutRegardToCase) {
  ForEachCase<4>("text", "compared", [](auto& a, auto& b, auto& equal, auto& same_name) {
    EXPECT_EQ(EqualsIgnoringCase(a, b), equal == "equal");
    EXPECT_EQ(EqualsIgnoringCase(b, a), equal == "equal");
    EXPECT_EQ(SameName(a, b), same_name == "same");
  });
}

TEST(Text, TrimsBlanksAtTheEnds) {
  ForEachCase<2>("text", "trimmed", [](auto& text, auto& trimmed) { EXPECT_EQ(TrimBlanks(text), trimmed); });
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
  ForEachCase<2>("text", "not of Windows-1250", [](auto& text, auto& message) {
    EXPECT_THAT([&] { ToWindows1250(text); }, testing::ThrowsMessage<ConversionError>(message));
  });
}

TEST(Text, ShowsNumbersShortestAndReadsThemBack) {
  ForEachCase<2>("text", "shortest numbers", [](auto& number, auto& text) {
    const double value = std::strtod(number.c_str(), nullptr);
    EXPECT_EQ(TextOrError([&] { return ShortestNumber(value); }), text);
    if (std::isfinite(value)) {
      EXPECT_EQ(ParseNumber(text), value);
    }
  });
}

TEST(Text, ReadsNothingButNumbers) {
  ForEachCase<3>("text", "read numbers", [](auto& text, auto& number, auto& integer) {
    EXPECT_EQ(TextOrError([&] { return ShortestNumber(ParseNumber(text)); }), number);
    EXPECT_EQ(TextOrError([&] { return ParseInteger(text); }), integer);
  });
}

}  // namespace
}  // namespace mox
