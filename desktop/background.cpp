#include "desktop/background.h"

#include <chrono>

namespace mox {
namespace {

constexpr std::chrono::milliseconds kBetweenLooks(20);

}  // namespace

void Background::Await(const std::function<void()>& look) {
  while (running_.valid() && running_.wait_for(kBetweenLooks) != std::future_status::ready) look();
}

void Background::Start(std::function<void()> task, const std::function<void()>& look) {
  Await(look);
  running_ = std::async(std::launch::async, std::move(task));
  Await(look);
  running_.get();
}

void Background::Finish() {
  if (running_.valid()) running_.wait();
}

}  // namespace mox
