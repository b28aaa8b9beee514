#include "mox/foundation/file_lock.h"

#include <cerrno>
#include <filesystem>
#include <system_error>
#include <utility>

#include "mox/foundation/error.h"

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>
#endif

namespace mox {

FileLock::FileLock(FileLock&& other) noexcept
    : handle_(std::exchange(other.handle_, nullptr)), descriptor_(std::exchange(other.descriptor_, -1)) {}

FileLock& FileLock::operator=(FileLock&& other) noexcept {
  std::swap(handle_, other.handle_);
  std::swap(descriptor_, other.descriptor_);
  return *this;
}

#if defined(_WIN32)

FileLock::~FileLock() {
  if (handle_ != nullptr) ::CloseHandle(handle_);
}

// A file that nobody may open a second time.
std::optional<FileLock> FileLock::Try(const std::string& path) {
  const HANDLE handle = ::CreateFileW(std::filesystem::path(path).c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle != INVALID_HANDLE_VALUE) return FileLock(handle);
  const DWORD failure = ::GetLastError();
  if (failure == ERROR_SHARING_VIOLATION) return std::nullopt;
  const std::error_code reason(static_cast<int>(failure), std::system_category());
  throw Error(path + ": cannot be locked: " + reason.message());
}

#else

FileLock::~FileLock() {
  if (descriptor_ >= 0) ::close(descriptor_);
}

std::optional<FileLock> FileLock::Try(const std::string& path) {
  constexpr mode_t kOwner = 0600;
  FileLock lock(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, kOwner));
  if (lock.descriptor_ >= 0 && ::flock(lock.descriptor_, LOCK_EX | LOCK_NB) == 0) return lock;
  if (lock.descriptor_ >= 0 && (errno == EWOULDBLOCK || errno == EINTR)) return std::nullopt;
  throw Error(path + ": cannot be locked: " + std::generic_category().message(errno));
}

#endif

}  // namespace mox
