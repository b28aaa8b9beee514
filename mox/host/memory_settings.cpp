#include "mox/host/memory_settings.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {
namespace {

template <typename Settings>
auto Position(Settings& settings, std::string_view section, std::string_view key) {
  return std::find_if(settings.begin(), settings.end(), [&](const auto& setting) {
    return SameName(setting.section, section) && SameName(setting.key, key);
  });
}

}  // namespace

std::optional<std::string> MemorySettings::Find(std::string_view section, std::string_view key) const {
  const auto found = Position(settings_, section, key);
  if (found == settings_.end()) return std::nullopt;
  return found->value;
}

void MemorySettings::Store(std::string_view section, std::string_view key, std::string_view value) {
  const auto found = Position(settings_, section, key);
  if (found != settings_.end()) {
    found->value = value;
  } else {
    settings_.push_back({std::string(section), std::string(key), std::string(value)});
  }
}

}  // namespace mox
