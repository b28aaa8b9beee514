#include "mox/foundation/files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <fcntl.h>
#include <io.h>
#include <windows.h>
// Needs windows.h before it.
#include <sddl.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include "mox/foundation/error.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void Refuse(const std::string& path, const std::error_code& reason,
                         const char* what = "written") {
  throw Error(path + ": cannot be " + what + ": " + reason.message());
}

std::error_code LastError() { return {errno, std::generic_category()}; }

bool FlushToDisk(std::FILE* file) {
  if (std::fflush(file) != 0) return false;
#if defined(_WIN32)
  return _commit(_fileno(file)) == 0;
#else
  return ::fsync(::fileno(file)) == 0;
#endif
}

// A new file, null with errno where there is one or it cannot be created. One that is for its owner alone is
// so from its first byte.
#if defined(_WIN32)
std::FILE* CreateNewFile(const fs::path& path, bool owner_only) {
  SECURITY_ATTRIBUTES attributes{sizeof(SECURITY_ATTRIBUTES), nullptr, FALSE};
  // Full access for the owner, and nothing inherited from the folder.
  constexpr const wchar_t* kOwnerAlone = L"D:P(A;;FA;;;OW)";
  if (owner_only && ::ConvertStringSecurityDescriptorToSecurityDescriptorW(
                        kOwnerAlone, SDDL_REVISION_1, &attributes.lpSecurityDescriptor, nullptr) == 0) {
    errno = EACCES;
    return nullptr;
  }
  const HANDLE handle = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, owner_only ? &attributes : nullptr,
                                      CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  const DWORD failure = handle == INVALID_HANDLE_VALUE ? ::GetLastError() : ERROR_SUCCESS;
  ::LocalFree(attributes.lpSecurityDescriptor);
  if (failure != ERROR_SUCCESS) {
    errno = failure == ERROR_FILE_EXISTS || failure == ERROR_ALREADY_EXISTS ? EEXIST : EACCES;
    return nullptr;
  }
  return ::_fdopen(::_open_osfhandle(reinterpret_cast<intptr_t>(handle), _O_BINARY), "wb");
}
#else
std::FILE* CreateNewFile(const fs::path& path, bool owner_only) {
  constexpr mode_t kOwner = S_IRUSR | S_IWUSR;
  constexpr mode_t kUsual = kOwner | S_IRGRP | S_IWGRP | S_IROTH | S_IWOTH;  // less the user's mask
  const int descriptor =
      ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, owner_only ? kOwner : kUsual);
  return descriptor < 0 ? nullptr : ::fdopen(descriptor, "wb");
}
#endif

// A new file beside the target under a name that is free, and that name; crashed programs may have left some.
OpenFile CreateBeside(const fs::path& target, bool owner_only, fs::path& temporary) {
  constexpr int kMostLeftovers = 1000;
  for (int i = 0; i < kMostLeftovers; ++i) {
    temporary = target;
    temporary += "." + std::to_string(i) + ".tmp";
    OpenFile file(CreateNewFile(temporary, owner_only));
    if (file || errno != EEXIST) return file;
  }
  return nullptr;
}

std::error_code WriteAndClose(OpenFile file, std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return LastError();
  if (!FlushToDisk(file.get()) && errno != EINVAL) return LastError();  // nothing to flush of a device
  return std::fclose(file.release()) == 0 ? std::error_code() : LastError();
}

constexpr std::size_t kMostRead = 1024UL * 1024 * 1024;

// Devices such as /dev/zero never end; a terminal does, and so do pipes.
void RequireEnd(const std::string& path, std::FILE* file) {
#if defined(_WIN32)
  (void)path;
  (void)file;
#else
  struct stat status {};
  if (::fstat(::fileno(file), &status) != 0) return;
  const bool device = S_ISCHR(status.st_mode) || S_ISBLK(status.st_mode);
  if (device && ::isatty(::fileno(file)) == 0) throw Error(path + ": is a device and not a file");
#endif
}

}  // namespace

std::string ReadWholeFile(const std::string& path) {
  const OpenFile file(std::fopen(path.c_str(), "rb"));
  if (!file) Refuse(path, LastError(), "read");
  RequireEnd(path, file.get());
  std::string bytes;
  std::array<char, 64 * 1024> block{};
  std::size_t count = 0;
  while ((count = std::fread(block.data(), 1, block.size(), file.get())) > 0) {
    if (bytes.size() > kMostRead - count)
      throw Error(path + ": is longer than a gigabyte, which is too long");
    bytes.append(block.data(), count);
  }
  if (std::ferror(file.get()) != 0) Refuse(path, LastError(), "read");
  return bytes;
}

std::string ReadRegularFile(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    throw Error(path +
                (fs::is_directory(status) ? ": is a folder" : ": is a pipe or a device and not a file"));
  }
  return ReadWholeFile(path);
}

fs::path BehindLinks(fs::path path) {
  constexpr int kMostLinks = 40;
  std::error_code error;
  for (int i = 0; i < kMostLinks && fs::is_symlink(path, error); ++i) {
    const fs::path target = fs::read_symlink(path, error);
    if (error) break;
    path = path.parent_path() / target;
  }
  return path;
}

namespace {

// A terminal, a pipe or another device takes the bytes itself.
void WriteInto(const std::string& path, std::string_view bytes) {
  OpenFile device(std::fopen(path.c_str(), "wb"));
  if (!device) Refuse(path, LastError());
  if (const std::error_code error = WriteAndClose(std::move(device), bytes)) Refuse(path, error);
}

}  // namespace

void ReplaceFile(const std::string& path, std::string_view bytes, FileAccess access) {
  std::error_code error;
  const fs::file_status old = fs::status(path, error);
  if (fs::is_directory(old)) Refuse(path, std::make_error_code(std::errc::is_a_directory));
  if (fs::exists(old) && !fs::is_regular_file(old)) return WriteInto(path, bytes);
  const fs::path target = BehindLinks(path);
  // Opening shows whether the old file may be written; its contents are not touched.
  if (fs::exists(old) && !OpenFile(std::fopen(target.string().c_str(), "r+b"))) Refuse(path, LastError());

  const bool owner_only = access == FileAccess::kOwnerOnly;
  fs::path temporary;
  OpenFile file = CreateBeside(target, owner_only || fs::exists(old), temporary);
  if (!file) Refuse(path, LastError());
  error.clear();
  if (fs::exists(old) && !owner_only) fs::permissions(temporary, old.permissions(), error);
  if (!error) error = WriteAndClose(std::move(file), bytes);
  if (!error) fs::rename(temporary, target, error);
  if (error) {
    file.reset();
    std::error_code ignored;
    fs::remove(temporary, ignored);
    Refuse(path, error);
  }
}

bool IsNamedPipe(const std::string& path) {
  std::error_code error;
  return !path.starts_with("/dev/") && fs::is_fifo(path, error);
}

bool RemoveFile(const std::string& path) {
  std::error_code error;
  fs::remove(path, error);
  return !error;
}

}  // namespace mox
