#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <stdexcept>
#include <string>

namespace mox {

/// A folder of the test's own, with a blank in its name; gone with this object.
class ScratchFolder {
 public:
  ScratchFolder() {
    std::string name = (std::filesystem::path(testing::TempDir()) / "mox test XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) throw std::runtime_error(name + " cannot be created");
    path_ = name;
  }
  ~ScratchFolder() {
    std::error_code ignored;
    std::filesystem::permissions(path_, std::filesystem::perms::owner_all, ignored);
    std::filesystem::remove_all(path_, ignored);
  }
  ScratchFolder(const ScratchFolder&) = delete;
  ScratchFolder& operator=(const ScratchFolder&) = delete;

  const std::filesystem::path& path() const { return path_; }
  /// A file in it; of "" the folder itself with a separator at its end.
  std::string operator/(const std::string& name) const { return (path_ / name).string(); }

 private:
  std::filesystem::path path_;
};

}  // namespace mox
