#include "cli/suggestions.h"

#include <algorithm>
#include <numeric>

#include "mox/foundation/text.h"

namespace mox {
namespace {

// Insertions, deletions and replacements that lead from one text to the other.
std::size_t EditDistance(std::string_view from, std::string_view to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0U);
  for (std::size_t i = 0; i < from.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < to.size(); ++j) {
      const std::size_t replaced = diagonal + (from[i] == to[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, diagonal + 1, row[j] + 1});
    }
  }
  return row.back();
}

}  // namespace

std::string DidYouMean(std::string_view unknown, const std::vector<std::string_view>& names) {
  constexpr std::size_t kMostSuggestions = 3;
  constexpr std::size_t kLongestName = 100;
  if (unknown.size() > kLongestName) return "";
  const std::string folded = FoldCase(unknown);
  std::vector<std::pair<std::size_t, std::string_view>> near;
  for (const std::string_view name : names) {
    const std::string folded_name = FoldCase(name);
    const bool part = folded.size() > 2 && folded_name.find(folded) != std::string::npos;
    const std::size_t distance = EditDistance(folded, folded_name);
    const std::size_t most = std::max<std::size_t>(2, folded.size() / 4);
    if (part || (distance <= most && distance < folded.size())) near.emplace_back(distance, name);
  }
  std::stable_sort(near.begin(), near.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  const std::size_t most = !near.empty() && near.front().first == 0 ? 1 : kMostSuggestions;
  if (near.size() > most) near.resize(most);
  std::string text;
  for (const auto& [distance, name] : near) {
    text += text.empty() ? "; did you mean " : (name == near.back().second ? " or " : ", ");
    text += "\"" + std::string(name) + "\"";
  }
  return text.empty() ? "" : text + "?";
}

std::string ThereIsNo(std::string_view what, std::string_view unknown,
                      const std::vector<std::string_view>& names) {
  const std::string near = DidYouMean(unknown, names);
  return "there is no " + std::string(what) + " \"" + std::string(unknown) + "\"" + near +
         (near.empty() ? ";" : "") + " --list names them all";
}

}  // namespace mox
