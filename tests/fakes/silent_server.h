#pragma once

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <stdexcept>
#include <string>

namespace mox {

/// A server of this computer that takes connections and says nothing, for the object's lifetime.
class SilentServer {
 public:
  SilentServer() : listener_(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof(address);
    auto* const where = reinterpret_cast<sockaddr*>(&address);
    if (::bind(listener_, where, size) != 0 || ::listen(listener_, 8) != 0 ||
        ::getsockname(listener_, where, &size) != 0) {
      throw std::runtime_error("no server can be started");
    }
    address_ = "127.0.0.1:" + std::to_string(ntohs(address.sin_port));
  }
  ~SilentServer() { ::close(listener_); }
  SilentServer(const SilentServer&) = delete;
  SilentServer& operator=(const SilentServer&) = delete;

  /// "HOST:PORT".
  const std::string& Address() const { return address_; }

 private:
  int listener_;
  std::string address_;
};

}  // namespace mox
