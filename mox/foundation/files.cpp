#include "mox/foundation/files.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#if defined(_WIN32)
#include <io.h>
#else
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

// The file that a chain of links leads to. A loop of links is left to fail when it is opened.
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

// A new file beside the target under a name that is free, and that name; crashed programs may have left some.
OpenFile CreateBeside(const fs::path& target, fs::path& temporary) {
  constexpr int kMostLeftovers = 1000;
  for (int i = 0; i < kMostLeftovers; ++i) {
    temporary = target;
    temporary += "." + std::to_string(i) + ".tmp";
    OpenFile file(std::fopen(temporary.string().c_str(), "wbx"));
    if (file || errno != EEXIST) return file;
  }
  return nullptr;
}

std::error_code WriteAndClose(OpenFile file, std::string_view bytes) {
  if (std::fwrite(bytes.data(), 1, bytes.size(), file.get()) != bytes.size()) return LastError();
  if (!FlushToDisk(file.get())) return LastError();
  return std::fclose(file.release()) == 0 ? std::error_code() : LastError();
}

}  // namespace

std::string ReadWholeFile(const std::string& path) {
  const OpenFile file(std::fopen(path.c_str(), "rb"));
  if (!file) Refuse(path, LastError(), "read");
  std::string bytes;
  std::array<char, 64 * 1024> block{};
  std::size_t count = 0;
  while ((count = std::fread(block.data(), 1, block.size(), file.get())) > 0)
    bytes.append(block.data(), count);
  if (std::ferror(file.get()) != 0) Refuse(path, LastError(), "read");
  return bytes;
}

void ReplaceFile(const std::string& path, std::string_view bytes) {
  const fs::path target = BehindLinks(path);
  std::error_code error;
  const fs::file_status old = fs::status(target, error);
  // Opening shows whether the old file may be written; its contents are not touched.
  if (fs::exists(old) && !OpenFile(std::fopen(target.string().c_str(), "r+b"))) Refuse(path, LastError());

  fs::path temporary;
  OpenFile file = CreateBeside(target, temporary);
  if (!file) Refuse(path, LastError());
  error.clear();
  if (fs::exists(old)) fs::permissions(temporary, old.permissions(), error);
  if (!error) error = WriteAndClose(std::move(file), bytes);
  if (!error) fs::rename(temporary, target, error);
  if (error) {
    file.reset();
    std::error_code ignored;
    fs::remove(temporary, ignored);
    Refuse(path, error);
  }
}

bool RemoveFile(const std::string& path) {
  std::error_code error;
  fs::remove(path, error);
  return !error;
}

}  // namespace mox
