#include "mox/foundation/vocabulary.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "mox/foundation/text.h"

namespace mox {

namespace {

// Every record set looks up all of its columns, so names are looked for among those of their length alone.
constexpr std::size_t kLongestName =
    std::max_element(kVocabulary.begin(), kVocabulary.end(), [](const auto& a, const auto& b) {
      return a.name.size() < b.name.size();
    }) -> name.size();

struct NamesByLength {
  std::array<std::uint16_t, kVocabularySize> ids{};
  std::array<std::uint16_t, kLongestName + 2> begin{};  // of each length in `ids`
};

constexpr NamesByLength kByLength = [] {
  NamesByLength names;
  std::uint16_t at = 0;
  for (std::size_t length = 0; length <= kLongestName; ++length) {
    names.begin[length] = at;
    for (std::uint16_t id = 0; id < kVocabularySize; ++id) {
      if (kVocabulary[id].name.size() == length) names.ids[at++] = id;
    }
  }
  names.begin[kLongestName + 1] = at;
  return names;
}();

}  // namespace

std::optional<NameId> FindInVocabulary(std::string_view name) {
  if (name.size() > kLongestName) return std::nullopt;
  for (std::size_t at = kByLength.begin[name.size()]; at < kByLength.begin[name.size() + 1]; ++at) {
    if (SameName(kVocabulary[kByLength.ids[at]].name, name)) return static_cast<NameId>(kByLength.ids[at]);
  }
  return std::nullopt;
}

const VocabularyEntry* FindVocabularyEntry(std::string_view name) {
  const auto id = FindInVocabulary(name);
  return id ? &kVocabulary[static_cast<std::size_t>(*id)] : nullptr;
}

}  // namespace mox
