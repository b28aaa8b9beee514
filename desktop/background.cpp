#include "desktop/background.h"

#include <chrono>

namespace mox {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks(20);

}  // namespace

void Background::Await(const Running& running, const std::function<void()>& look) {
  while (running.valid() && running.wait_for(kBetweenLooks) != std::future_status::ready) look();
}

void Background::Start(std::function<void()> task, const std::function<void()>& look) {
  Await(Running(running_), look);
  const Running mine = std::async(std::launch::async, std::move(task)).share();
  running_ = mine;
  Await(mine, look);
  mine.get();
}

void Background::Finish() {
  if (running_.valid()) running_.wait();
}

}  // namespace mox
