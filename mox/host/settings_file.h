#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/app.h"
#include "mox/host/ini_text.h"

namespace mox {

/// Settings in an INI file (see IniText for its form and for what it cannot hold). The file is read once,
/// when this is constructed; a missing file counts as empty and comes with the first write, in UTF-8.
///
/// A write stores at once, changes nothing but its own setting, and keeps the file's encoding, line breaks
/// and permissions. It reads the file anew, so that what other programs stored meanwhile stays and is seen
/// from then on. A write that fails raises Error naming the path and leaves file and settings as they were;
/// among the reasons is a value that the file's Windows-1250 cannot hold.
class SettingsFile : public TAppIni {
 public:
  /// Raises Error naming the path when there is a file that cannot be read.
  explicit SettingsFile(std::string path);
  const std::string& Path() const { return path_; }

 private:
  std::optional<std::string> Find(std::string_view section, std::string_view key) const override;
  void Store(std::string_view section, std::string_view key, std::string_view value) override;

  std::string path_;
  IniText text_;
};

}  // namespace mox
