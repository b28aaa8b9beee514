#include "mox/foundation/vocabulary.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {

std::optional<NameId> FindInVocabulary(std::string_view name) {
  const auto found = std::find_if(kVocabulary.begin(), kVocabulary.end(),
                                  [&](const VocabularyEntry& entry) { return SameName(entry.name, name); });
  if (found == kVocabulary.end()) return std::nullopt;
  return static_cast<NameId>(found - kVocabulary.begin());
}

const VocabularyEntry* FindVocabularyEntry(std::string_view name) {
  const auto id = FindInVocabulary(name);
  return id ? &kVocabulary[static_cast<std::size_t>(*id)] : nullptr;
}

}  // namespace mox
