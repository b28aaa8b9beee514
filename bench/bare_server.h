#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace mox::bench {

/// The least that the library of the server program can do: answers each POST with its body, under the header
/// fields that an answer has, over TLS and one connection after the other's requests, on one thread.
class BareServer {
 public:
  /// Of PEM files; at a free port of this computer.
  BareServer(const std::string& certificate, const std::string& key);
  ~BareServer();
  BareServer(const BareServer&) = delete;
  BareServer& operator=(const BareServer&) = delete;

  std::uint16_t port() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace mox::bench
