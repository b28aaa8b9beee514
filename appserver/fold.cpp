#include "appserver/fold.h"

#include <algorithm>
#include <map>
#include <string>
#include <vector>

#include "appserver/database.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

char SmallAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

// The capitals of the small letters that are not ASCII: FoldCase turned round.
const std::map<std::string, std::string, std::less<>>& Capitals() {
  static const auto capitals = [] {
    constexpr char32_t kFirst = 0xC0;
    constexpr char32_t kLast = 0x1FFF;
    std::map<std::string, std::string, std::less<>> found;
    for (char32_t code = kFirst; code <= kLast; ++code) {
      std::string capital;
      AppendUtf8(capital, code);
      std::string small = FoldCase(capital);
      if (small.size() > 1 && small != capital) found.emplace(std::move(small), capital);
    }
    return found;
  }();
  return capitals;
}

constexpr std::string_view kWordEnds = " -.,/(\t\r\n";

enum class Which : std::uint8_t { kAll, kFirstOfText, kFirstOfWords };

// A text of small letters with some of those that are not ASCII made capital.
std::string WithCapitals(std::string_view small, Which which) {
  std::string text;
  bool first = true;
  while (!small.empty()) {
    const std::string_view letter = CutToCharacters(small, 1);
    small.remove_prefix(letter.size());
    const auto capital = Capitals().find(letter);
    const bool replace = capital != Capitals().end() && (which == Which::kAll || first);
    text += replace ? std::string_view(capital->second) : letter;
    first = which == Which::kFirstOfWords && letter.size() == 1 &&
            kWordEnds.find(letter) != std::string_view::npos;
  }
  return text;
}

}  // namespace

std::string FoldKey(std::string_view text) {
  std::string folded(TrimBlanks(text));
  for (std::size_t at = 0; at < folded.size(); ++at) {
    folded[at] = SmallAscii(folded[at]);
    if (static_cast<unsigned char>(folded[at]) < 0x80) continue;
    for (const auto& [capital, small] : kFoldedLetters) {
      if (folded.compare(at, capital.size(), capital) == 0) folded.replace(at, small.size(), small);
    }
  }
  return folded;
}

std::vector<std::string> FoldKeys(std::string_view text) {
  if (text.find('\0') != std::string_view::npos) return {};
  std::vector<std::string> keys = {FoldKey(text)};
  const auto is_ascii = [](char c) { return static_cast<unsigned char>(c) < 0x80; };
  if (std::all_of(text.begin(), text.end(), is_ascii)) return keys;
  const std::string small = FoldCase(keys.front());
  for (const std::string& spelling :
       {small, WithCapitals(small, Which::kAll), WithCapitals(small, Which::kFirstOfText),
        WithCapitals(small, Which::kFirstOfWords)}) {
    std::string key = FoldKey(spelling);
    if (std::find(keys.begin(), keys.end(), key) == keys.end()) keys.push_back(std::move(key));
  }
  return keys;
}

}  // namespace mox
