#include "desktop/background.h"

#include <algorithm>
#include <chrono>

namespace mox {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks(20);

}  // namespace

bool Background::IsReady(const Running& running) {
  return running.wait_for(std::chrono::milliseconds(0)) == std::future_status::ready;
}

bool Background::IsRunning() const { return !std::all_of(running_.begin(), running_.end(), IsReady); }

void Background::TakeOver(Background& other) {
  running_.insert(running_.end(), other.running_.begin(), other.running_.end());
  other.running_.clear();
}

void Background::Await(const Running& running, const std::function<void()>& look) {
  while (running.wait_for(kBetweenLooks) != std::future_status::ready) look();
}

void Background::Start(std::function<void()> task, const std::function<void()>& look) {
  std::erase_if(running_, IsReady);
  const Running mine = std::async(std::launch::async, std::move(task)).share();
  running_.push_back(mine);
  Await(mine, look);
  mine.get();
}

void Background::Finish(const std::function<void()>& look) {
  while (IsRunning()) {
    const std::vector<Running> running = running_;
    for (const Running& one : running) Await(one, look);
  }
  running_.clear();
}

}  // namespace mox
