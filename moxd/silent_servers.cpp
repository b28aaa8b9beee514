#include "moxd/silent_servers.h"

#include <algorithm>
#include <cstdint>

namespace mox {
namespace {

// How long others wait for the one who connects; a server that is there answers in some milliseconds.
constexpr std::chrono::milliseconds kPatience{300};
// Who is refused at once is told sooner than that.
constexpr std::chrono::milliseconds kSilence{1000};
constexpr std::chrono::seconds kAlone{5};

}  // namespace

std::optional<SilentServers::Turn> SilentServers::TurnTo(const std::string& server) {
  std::unique_lock lock(mutex_);
  Server& known = servers_[server];
  const auto may_try = [&] { return !known.since; };
  if (known.alone && (Clock::now() < *known.alone || known.since)) return std::nullopt;
  while (!may_try()) {
    const auto until = *known.since + kPatience;
    if (Clock::now() >= until) return std::nullopt;
    ended_.wait_until(lock, until, may_try);
    if (known.alone) return std::nullopt;
  }
  known.since = Clock::now();
  return Turn(this, server);
}

bool SilentServers::WasSilent(const std::string& server) {
  const std::scoped_lock lock(mutex_);
  const auto known = servers_.find(server);
  return known != servers_.end() && known->second.alone.has_value();
}

int SilentServers::SecondsOf(const std::string& server) {
  const std::scoped_lock lock(mutex_);
  const auto known = servers_.find(server);
  if (known == servers_.end() || !known->second.alone) return 0;
  const auto left = std::chrono::ceil<std::chrono::seconds>(*known->second.alone - Clock::now()).count();
  return static_cast<int>(std::max<std::int64_t>(left, 0));
}

void SilentServers::NoteSilent(const std::string& server) {
  const std::scoped_lock lock(mutex_);
  servers_[server].alone = Clock::now() + kAlone;
}

void SilentServers::Turn::End(bool reached) {
  SilentServers* const of = std::exchange(of_, nullptr);
  if (of == nullptr) return;
  const std::scoped_lock lock(of->mutex_);
  Server& known = of->servers_[server_];
  const bool is_silent = !reached && known.since && Clock::now() - *known.since > kSilence;
  known.since.reset();
  known.alone = is_silent ? std::optional(Clock::now() + kAlone) : std::nullopt;
  of->ended_.notify_all();
}

}  // namespace mox
