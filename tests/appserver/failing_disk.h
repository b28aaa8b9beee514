#pragma once

#include <sqlite3.h>

#include <map>

namespace mox {

/// For its own lifetime one access to the files of databases fails, counted from 1: a read, a write or a
/// flush. Only databases that are opened meanwhile are concerned, and there is one such disk at a time.
class FailingDisk {
 public:
  explicit FailingDisk(int failing_access) {
    failing = failing_access;
    count = 0;
    real = sqlite3_vfs_find(nullptr);
    vfs = *real;
    vfs.zName = "failing";
    vfs.xOpen = Open;
    sqlite3_vfs_register(&vfs, 1);
  }
  ~FailingDisk() {
    sqlite3_vfs_unregister(&vfs);
    sqlite3_vfs_register(real, 1);
  }
  FailingDisk(const FailingDisk&) = delete;
  FailingDisk& operator=(const FailingDisk&) = delete;

  bool HasFailed() const { return count >= failing; }

 private:
  static int Open(sqlite3_vfs*, const char* name, sqlite3_file* file, int flags, int* out) {
    const int result = real->xOpen(real, name, file, flags, out);
    if (result != SQLITE_OK || file->pMethods == nullptr) return result;
    // Each sort of file has methods of its own, but reads, writes and flushes alike.
    of_files = *file->pMethods;
    sqlite3_io_methods& methods = failing_methods[file->pMethods];
    methods = of_files;
    methods.xRead = [](sqlite3_file* f, void* to, int size, sqlite3_int64 at) {
      return Fails() ? SQLITE_IOERR_READ : of_files.xRead(f, to, size, at);
    };
    methods.xWrite = [](sqlite3_file* f, const void* from, int size, sqlite3_int64 at) {
      return Fails() ? SQLITE_IOERR_WRITE : of_files.xWrite(f, from, size, at);
    };
    methods.xSync = [](sqlite3_file* f, int how) {
      return Fails() ? SQLITE_IOERR_FSYNC : of_files.xSync(f, how);
    };
    file->pMethods = &methods;
    return SQLITE_OK;
  }
  static bool Fails() { return ++count == failing; }

  static inline int failing = 0;
  static inline int count = 0;
  static inline sqlite3_vfs* real = nullptr;
  static inline sqlite3_vfs vfs;
  static inline sqlite3_io_methods of_files;
  static inline std::map<const sqlite3_io_methods*, sqlite3_io_methods> failing_methods;
};

}  // namespace mox
