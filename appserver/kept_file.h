#pragma once

#include <cstdint>
#include <string>
#include <utility>

namespace mox {

/// The files of a database that this process has open. The engine's locks on them belong to the process, and
/// all of them go when it closes any descriptor of such a file, be it a file dialog that looks what the file
/// is. Other programs would take it for one that nobody uses then, and delete its log, with all that is
/// written to it from then on. So descriptors of their own keep locks on the same places, which stay as long
/// as they do, and are closed once the last connection is. Where the system has no such locks, nothing is
/// kept.
class KeptFile {
 public:
  /// Of a database that a connection has open.
  explicit KeptFile(const std::string& path);
  /// After the connection is closed.
  ~KeptFile();
  KeptFile(const KeptFile&) = delete;
  KeptFile& operator=(const KeptFile&) = delete;

  /// The locks, until the last one of these goes: before its connection closes, which tidies up alone.
  class Locks {
   public:
    explicit Locks(const KeptFile& file);
    ~Locks();
    Locks(const Locks&) = delete;
    Locks& operator=(const Locks&) = delete;

   private:
    const KeptFile& file_;
  };

 private:
  using Key = std::pair<std::uint64_t, std::uint64_t>;
  Key key_;  // zeros for none
};

}  // namespace mox
