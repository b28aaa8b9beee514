#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <utility>

namespace mox {

/// Database servers as all workers know them. One that does not answer would hold each worker that asks it up
/// for as long as a connection may take, so that soon none would be left for others: one worker at a time
/// connects, the others wait a moment for it, and then there is no connection for them. A server that was
/// silent is left alone for some seconds.
class SilentServers {
 public:
  /// The turn to connect to a server. One that ends without Reached(), and lasted, tells that it is silent.
  class Turn {
   public:
    Turn(SilentServers* of, std::string server) : of_(of), server_(std::move(server)) {}
    Turn(Turn&& other) noexcept : of_(std::exchange(other.of_, nullptr)), server_(std::move(other.server_)) {}
    Turn& operator=(Turn&&) = delete;
    ~Turn() { End(false); }

    void Reached() { End(true); }

   private:
    void End(bool reached);

    SilentServers* of_;
    std::string server_;
  };

  /// None for whom there is no connection now.
  std::optional<Turn> TurnTo(const std::string& server);
  /// Whether it was silent when it was asked last, and how many seconds it is to be left alone.
  bool WasSilent(const std::string& server);
  int SecondsOf(const std::string& server);
  /// It did not answer although it was connected to.
  void NoteSilent(const std::string& server);

 private:
  using Clock = std::chrono::steady_clock;
  struct Server {
    std::optional<Clock::time_point> since;  // somebody connects
    std::optional<Clock::time_point> alone;  // until then, where it was silent when it was asked last
  };

  std::mutex mutex_;
  std::condition_variable ended_;
  std::map<std::string, Server> servers_;  // which are few: a cluster's databases
};

}  // namespace mox
