#include "mox/host/memory_settings.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {
namespace {

template <typename Settings>
auto Find(Settings& settings, std::string_view section, std::string_view key) {
  return std::find_if(settings.begin(), settings.end(), [&](const auto& setting) {
    return SameName(setting.section, section) && SameName(setting.key, key);
  });
}

}  // namespace

std::string MemorySettings::ReadString(std::string_view section, std::string_view key,
                                       std::string_view default_value) const {
  const auto found = Find(settings_, section, key);
  return found != settings_.end() ? found->value : std::string(default_value);
}

void MemorySettings::WriteString(std::string_view section, std::string_view key, std::string_view value) {
  const auto found = Find(settings_, section, key);
  if (found != settings_.end()) {
    found->value = value;
  } else {
    settings_.push_back({std::string(section), std::string(key), std::string(value)});
  }
}

}  // namespace mox
