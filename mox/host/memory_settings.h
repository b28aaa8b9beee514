#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/app.h"

namespace mox {

/// Settings that live in memory only, for a host without a settings file.
class MemorySettings : public TAppIni {
 private:
  std::optional<std::string> Find(std::string_view section, std::string_view key) const override;
  void Store(std::string_view section, std::string_view key, std::string_view value) override;

  struct Setting {
    std::string section;
    std::string key;
    std::string value;
  };

  std::vector<Setting> settings_;
};

}  // namespace mox
