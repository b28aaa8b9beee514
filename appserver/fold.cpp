#include "appserver/fold.h"

#include <algorithm>
#include <string>
#include <vector>

#include "appserver/database.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

char SmallAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

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

std::vector<std::string> FoldKeys(std::string_view text) { return {FoldKey(text)}; }

}  // namespace mox
