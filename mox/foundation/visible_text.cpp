#include "mox/foundation/visible_text.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "mox/foundation/text.h"

namespace mox {
namespace {

struct Range {
  char32_t first;
  char32_t last;
};

constexpr Range kHidden[] = {{0x80, 0x9F},     {0x61C, 0x61C},   {0x200E, 0x200F},
                             {0x2028, 0x202E}, {0x2066, 0x2069}, {0xFEFF, 0xFEFF}};
// No other character of more than one byte begins so: most texts are told apart by their bytes alone.
constexpr std::string_view kFirstBytes = "\xC2\xD8\xE2\xEF";

// The code of a valid character of two or three bytes.
char32_t CodeOf(std::string_view character) {
  char32_t code = static_cast<unsigned char>(character[0]) & (character.size() == 2 ? 0x1FU : 0x0FU);
  for (const char c : character.substr(1)) code = code << 6U | (static_cast<unsigned char>(c) & 0x3FU);
  return code;
}

bool IsHidden(std::string_view character) {
  if (kFirstBytes.find(character[0]) == std::string_view::npos) return false;
  const char32_t code = CodeOf(character);
  return std::any_of(std::begin(kHidden), std::end(kHidden),
                     [code](const Range& range) { return range.first <= code && code <= range.last; });
}

void AppendEscape(std::string& text, const char* form, unsigned code) {
  char escape[16];
  std::snprintf(escape, sizeof escape, form, code);
  text += escape;
}

}  // namespace

std::string VisibleText(std::string_view text) {
  std::string visible;
  visible.reserve(text.size());
  while (!text.empty()) {
    const std::string_view character = CutToCharacters(text, 1);
    text.remove_prefix(character.size());
    const auto byte = static_cast<unsigned char>(character[0]);
    if (character == "\n") {
      visible += "\\n";
    } else if (character.size() == 1 && (byte < 0x20 || byte >= 0x7F)) {
      AppendEscape(visible, "\\x%02X", byte);
    } else if (character.size() > 1 && IsHidden(character)) {
      AppendEscape(visible, "\\u%04X", static_cast<unsigned>(CodeOf(character)));
    } else {
      visible += character;
    }
  }
  return visible;
}

std::string VisibleMessage(std::string_view text) {
  constexpr std::size_t kLongest = 1000;
  constexpr std::size_t kBeginning = 600;
  constexpr std::size_t kEnd = 300;
  const std::size_t count = CountCharacters(text);
  if (count <= kLongest) return VisibleText(text);
  const std::string_view before_end = CutToCharacters(text, count - kEnd);
  return VisibleText(CutToCharacters(text, kBeginning)) + "[...]" +
         VisibleText(text.substr(before_end.size()));
}

std::string InQuotes(std::string_view text) { return '"' + VisibleMessage(text) + '"'; }

}  // namespace mox
