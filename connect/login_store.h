#pragma once

#include <optional>
#include <string>

namespace mox {

/// A user's session with a server.
struct StoredLogin {
  std::string token;
  std::string user;
  std::string ca_file;  ///< of the authority that vouches for the server; empty for those of the system
};

/// The sessions that a user of this computer has, by server, in one file that its owner alone may read. Two
/// programs may change it at the same time. Everything raises Error that names the file where it cannot be
/// read or written.
class LoginStore {
 public:
  /// `folder` is the user's own, with a separator at its end.
  explicit LoginStore(std::string folder);

  std::optional<StoredLogin> Find(const std::string& server) const;
  void Keep(const std::string& server, const StoredLogin& login);
  /// False where there is none.
  bool Forget(const std::string& server);

  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace mox
