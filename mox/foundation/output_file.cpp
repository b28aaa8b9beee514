#include "mox/foundation/output_file.h"

#include <array>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>
#include <utility>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

// What database engines keep beside a database.
constexpr std::array<std::string_view, 3> kCompanionEndings = {"-journal", "-wal", "-shm"};

[[noreturn]] void Refuse(const std::string& path, const std::string& reason) {
  throw Error(path + ": " + reason + ", which is not written over");
}

// The one name of a file, also of one that does not exist.
fs::path TrueName(const std::string& path) {
  std::error_code error;
  const fs::path target = BehindLinks(path);
  fs::path name = fs::weakly_canonical(fs::absolute(target, error), error);
  return error ? target : name;
}

bool IsSameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return fs::equivalent(a, b, error) || TrueName(a) == TrueName(b);
}

// The database to which a file of that name belongs; empty where there is none.
std::string DatabaseBeside(const std::string& path) {
  const std::string name = TrueName(path).string();
  for (const std::string_view ending : kCompanionEndings) {
    if (!name.ends_with(ending)) continue;
    const std::string database = name.substr(0, name.size() - ending.size());
    if (std::error_code error; fs::is_regular_file(database, error)) return database;
  }
  return {};
}

std::string BeginningOf(const std::string& path) {
  constexpr std::size_t kEnough = 4096;
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(path.c_str(), "rb"), std::fclose);
  if (!file) throw Error(path + ": cannot be read, so it is not known what would be written over");
  std::string beginning(kEnough, '\0');
  beginning.resize(std::fread(beginning.data(), 1, kEnough, file.get()));
  return beginning;
}

}  // namespace

void OutputFiles::Keep(const std::string& path, std::string what) {
  if (!path.empty() && path != "-") kept_.push_back({path, std::move(what)});
}

void OutputFiles::Require(const std::string& path, const OutputKind& kind) const {
  if (path.empty()) throw Error("the name of the file for " + std::string(kind.name) + " is empty");
  if (path == "-")
    throw Error("\"-\" is no file for " + std::string(kind.name) + " (./- is one of that name)");
  for (const Kept& kept : kept_) {
    if (IsSameFile(path, kept.path)) Refuse(path, "is " + kept.what);
  }
  if (const std::string database = DatabaseBeside(path); !database.empty()) {
    Refuse(path, "belongs to the database " + fs::path(database).filename().string());
  }
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  if (fs::is_directory(status)) throw Error(path + ": is a folder");
  if (IsNamedPipe(path)) throw Error(path + ": is a pipe and not a file");
  if (!fs::is_regular_file(status)) return;
  const std::string beginning = BeginningOf(path);
  if (beginning.empty()) return;
  if (!kind.begins(beginning) || (kind.is != nullptr && !kind.is(path))) {
    Refuse(path, "is there already and is not " + std::string(kind.name));
  }
}

void OutputFiles::Write(const std::string& path, std::string_view bytes, const OutputKind& kind) const {
  Require(path, kind);
  ReplaceFile(path, bytes);
}

}  // namespace mox
