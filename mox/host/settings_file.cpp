#include "mox/host/settings_file.h"

#include <filesystem>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "mox/host/safe_file.h"

namespace mox {
namespace {

// Of a missing file no bytes.
std::string ReadBytes(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  return status.type() == std::filesystem::file_type::not_found ? std::string() : ReadWholeFile(path);
}

template <typename Action>
auto NamingThePath(const std::string& path, Action action) {
  try {
    return action();
  } catch (const Error& error) {
    throw Error(path + ": " + error.what());
  }
}

}  // namespace

SettingsFile::SettingsFile(std::string path) : path_(std::move(path)) {
  const std::string bytes = ReadBytes(path_);
  text_ = NamingThePath(path_, [&] { return IniText(bytes); });
}

std::string SettingsFile::ReadString(std::string_view section, std::string_view key,
                                     std::string_view default_value) const {
  return text_.Find(section, key).value_or(std::string(default_value));
}

void SettingsFile::WriteString(std::string_view section, std::string_view key, std::string_view value) {
  const std::string before = ReadBytes(path_);
  IniText changed = NamingThePath(path_, [&] {
    IniText text(before);
    text.Set(section, key, value);
    return text;
  });
  const std::string after = changed.Bytes();
  if (after != before) ReplaceFileSafely(path_, after);
  text_ = std::move(changed);
}

}  // namespace mox
