#include "mox/foundation/files.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>

#include "mox/foundation/error.h"

namespace mox {
namespace {

struct CloseFile {
  void operator()(std::FILE* file) const { std::fclose(file); }
};
using OpenFile = std::unique_ptr<std::FILE, CloseFile>;

[[noreturn]] void Refuse(const std::string& path, const char* what) {
  throw Error(path + ": cannot be " + what + ": " + std::strerror(errno));
}

}  // namespace

std::string ReadWholeFile(const std::string& path) {
  errno = 0;
  const OpenFile file(std::fopen(path.c_str(), "rb"));
  if (!file) Refuse(path, "read");
  std::string bytes;
  char block[64 * 1024];
  std::size_t count = 0;
  while ((count = std::fread(block, 1, sizeof block, file.get())) > 0) bytes.append(block, count);
  if (std::ferror(file.get()) != 0) Refuse(path, "read");
  return bytes;
}

void ReplaceFile(const std::string& path, std::string_view bytes) {
  const std::string temporary = path + ".tmp";
  errno = 0;
  OpenFile file(std::fopen(temporary.c_str(), "wb"));
  if (!file) Refuse(path, "written");
  const bool written =
      std::fwrite(bytes.data(), 1, bytes.size(), file.get()) == bytes.size() && std::fflush(file.get()) == 0;
  const bool closed = std::fclose(file.release()) == 0;
  std::error_code error;
  if (written && closed) std::filesystem::rename(temporary, path, error);
  if (!written || !closed || error) {
    if (error) errno = error.value();
    const int reason = errno;
    std::remove(temporary.c_str());
    errno = reason;
    Refuse(path, "written");
  }
}

}  // namespace mox
