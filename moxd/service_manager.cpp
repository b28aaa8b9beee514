#include "moxd/service_manager.h"

#include <systemd/sd-daemon.h>

namespace mox {

std::vector<int> SocketsOfManager() {
  std::vector<int> sockets;
  const int count = ::sd_listen_fds(1);
  for (int i = 0; i < count; ++i) sockets.push_back(SD_LISTEN_FDS_START + i);
  return sockets;
}

std::optional<std::chrono::milliseconds> WatchdogPeriod() {
  std::uint64_t microseconds = 0;
  if (::sd_watchdog_enabled(0, &microseconds) <= 0) return std::nullopt;
  constexpr std::uint64_t kTwicePerPeriod = 2000;
  return std::chrono::milliseconds(microseconds / kTwicePerPeriod);
}

void TellManager(const std::string& state) { ::sd_notify(0, state.c_str()); }

}  // namespace mox
