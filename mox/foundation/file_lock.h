#pragma once

#include <optional>
#include <string>

namespace mox {

/// A file as the sign that one program of several is at work. The lock ends with the object or with the
/// program, however it ends; the file stays.
class [[nodiscard]] FileLock {
 public:
  /// None while another program, or another object of this one, has it. Creates the file, for its owner
  /// alone, where there is none. Raises Error naming the path when it cannot be opened.
  static std::optional<FileLock> Try(const std::string& path);

  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&& other) noexcept;
  ~FileLock();

 private:
  explicit FileLock(void* handle) : handle_(handle) {}
  explicit FileLock(int descriptor) : descriptor_(descriptor) {}
  void* handle_ = nullptr;  // of Windows
  int descriptor_ = -1;     // elsewhere
};

}  // namespace mox
