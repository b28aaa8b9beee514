#include "appserver/kept_file.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#endif

#include <map>
#include <mutex>

namespace mox {

#if defined(F_OFD_SETLK)
namespace {

// Where the engine has a shared lock as long as a connection is open: in the file, and in the log's index.
constexpr off_t kSharedBegin = 0x40000002;
constexpr off_t kSharedLength = 510;
constexpr off_t kIndexBegin = 128;
constexpr off_t kIndexLength = 1;

struct Descriptors {
  int file = -1;
  int index = -1;
  int users = 0;
  int lockers = 0;

  // Where another program has the place alone, it is not locked.
  void Set(short kind) const {
    const auto set = [kind](int descriptor, off_t begin, off_t length) {
      struct flock lock {};
      lock.l_type = kind;
      lock.l_whence = SEEK_SET;
      lock.l_start = begin;
      lock.l_len = length;
      if (descriptor >= 0) ::fcntl(descriptor, F_OFD_SETLK, &lock);
    };
    set(file, kSharedBegin, kSharedLength);
    set(index, kIndexBegin, kIndexLength);
  }
};

std::mutex mutex;

std::map<std::pair<std::uint64_t, std::uint64_t>, Descriptors>& Open() {
  static std::map<std::pair<std::uint64_t, std::uint64_t>, Descriptors> open;
  return open;
}

}  // namespace

// Only one with a log has such locks. What is opened here stays open: closing it is what loses locks.
KeptFile::KeptFile(const std::string& path) {
  struct stat index {};
  struct stat file {};
  if (::stat((path + "-shm").c_str(), &index) != 0 || ::stat(path.c_str(), &file) != 0) return;
  const std::scoped_lock lock(mutex);
  key_ = {file.st_dev, file.st_ino};
  Descriptors& descriptors = Open()[key_];
  if (descriptors.users++ > 0) return;
  descriptors.file = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  descriptors.index = ::open((path + "-shm").c_str(), O_RDONLY | O_CLOEXEC);
}

KeptFile::~KeptFile() {
  const std::scoped_lock lock(mutex);
  const auto found = Open().find(key_);
  if (found == Open().end() || --found->second.users > 0) return;
  for (const int descriptor : {found->second.file, found->second.index}) {
    if (descriptor >= 0) ::close(descriptor);
  }
  Open().erase(found);
}

KeptFile::Locks::Locks(const KeptFile& file) : file_(file) {
  const std::scoped_lock lock(mutex);
  const auto found = Open().find(file_.key_);
  if (found != Open().end() && found->second.lockers++ == 0) found->second.Set(F_RDLCK);
}

KeptFile::Locks::~Locks() {
  const std::scoped_lock lock(mutex);
  const auto found = Open().find(file_.key_);
  if (found != Open().end() && --found->second.lockers == 0) found->second.Set(F_UNLCK);
}
#else
KeptFile::KeptFile(const std::string& /*path*/) {}
KeptFile::~KeptFile() = default;
KeptFile::Locks::Locks(const KeptFile& file) : file_(file) {}
KeptFile::Locks::~Locks() = default;
#endif

}  // namespace mox
