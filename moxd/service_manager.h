#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <vector>

namespace mox {

// What the system's service manager hands to this program and wants to hear from it; nothing where the
// program was started by hand.

/// The listening sockets that it has opened.
std::vector<int> SocketsOfManager();
/// How often it wants to hear that the program is alive.
std::optional<std::chrono::milliseconds> WatchdogPeriod();
/// "READY=1", "STOPPING=1", "RELOADING=1", "WATCHDOG=1".
void TellManager(const std::string& state);

}  // namespace mox
