#include "mox/host/settings_file.h"

#include <filesystem>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"

namespace mox {
namespace {

// Of a missing file no bytes. A pipe would be waited for.
std::string ReadBytes(const std::string& path) {
  std::error_code error;
  const std::filesystem::file_status status = std::filesystem::status(path, error);
  if (status.type() == std::filesystem::file_type::not_found) return {};
  if (std::filesystem::exists(status) && !std::filesystem::is_regular_file(status)) {
    throw Error(path + ": is not a file");
  }
  return ReadWholeFile(path);
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

std::optional<std::string> SettingsFile::Find(std::string_view section, std::string_view key) const {
  return text_.Find(section, key);
}

void SettingsFile::Store(std::string_view section, std::string_view key, std::string_view value) {
  const std::string before = ReadBytes(path_);
  IniText changed = NamingThePath(path_, [&] {
    IniText text(before);
    text.Set(section, key, value);
    return text;
  });
  const std::string after = changed.Bytes();
  if (after != before) ReplaceFile(path_, after);
  text_ = std::move(changed);
}

}  // namespace mox
