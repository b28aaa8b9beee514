#include "moxd/network_threads.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace mox {
namespace {

// A call that is seen at two looks is no short one.
constexpr std::chrono::milliseconds kLook{1};
// So many looks at which there was nothing to see, and nobody looks until the next call.
constexpr int kInVain = 100;
// So many calls without a pause between them, and more than one client is busy: the next ones are made beside
// each other.
constexpr int kCallsInARow = 2;

}  // namespace

struct NetworkThreads::Thread {
  explicit Thread(const NetworkThreads* threads) : of(threads) {}

  const NetworkThreads* of;
  Loop* leads = nullptr;
  bool is_at_event = false;
  int calls_in_a_row = 0;      // between which there was always an event to take
  std::function<void()> call;  // to be made next
  Length length = Length::kShort;
};

thread_local NetworkThreads::Thread* NetworkThreads::here_ = nullptr;

NetworkThreads::NetworkThreads(std::size_t loops) {
  for (std::size_t i = 0; i < loops; ++i) free_.push_back(&loops_.emplace_back());
}

void NetworkThreads::Start(std::size_t calls) {
  watch_ = std::thread([this] { Watch(); });
  for (std::size_t i = 0; i < loops_.size() + calls; ++i) threads_.emplace_back([this] { Run(); });
}

void NetworkThreads::Call(std::function<void()> call, Length length) {
  if (here_ != nullptr && here_->of == this && !here_->call) {
    here_->call = std::move(call);
    // Others wait behind calls in a row; and a call of a call may wait for what that one brought about.
    const bool is_quiet = here_->is_at_event && here_->calls_in_a_row < kCallsInARow;
    here_->length = is_quiet ? length : Length::kLong;
    return;
  }
  const std::scoped_lock lock(mutex_);
  calls_.push_back(std::move(call));
  changed_.notify_one();
}

void NetworkThreads::Stop() {
  {
    const std::scoped_lock lock(mutex_);
    ends_ = true;
    changed_.notify_all();
    watched_.notify_all();
  }
  for (Loop& loop : loops_) loop.io.stop();
  for (std::thread& thread : threads_) thread.join();
  threads_.clear();
  if (watch_.joinable()) watch_.join();
}

void NetworkThreads::Run() {
  Thread self(this);
  here_ = &self;
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ends_ || !free_.empty() || !calls_.empty(); });
    if (!free_.empty() && !ends_) {
      self.leads = free_.front();
      free_.pop_front();
    } else if (!calls_.empty()) {
      self.call = std::move(calls_.front());
      calls_.pop_front();
    } else {
      break;
    }
    lock.unlock();
    if (self.leads != nullptr) Lead(*self.leads, self);
    MakeCalls(self);
    lock.lock();
  }
  here_ = nullptr;
}

// Until the loop is left to another thread, or ends.
void NetworkThreads::Lead(Loop& loop, Thread& self) {
  self.calls_in_a_row = kCallsInARow;
  for (;;) {
    self.is_at_event = true;
    std::size_t events = loop.io.poll_one();
    if (events == 0) {
      self.calls_in_a_row = 0;
      events = loop.io.run_one();
    }
    self.is_at_event = false;
    if (self.call) {
      std::uint64_t number = ++loop.calls;
      loop.call = number;
      if (self.length == Length::kLong) {
        Leave(loop, number);
      } else if (!watches_.exchange(true)) {
        const std::scoped_lock lock(mutex_);
        watched_.notify_one();
      }
      std::exchange(self.call, nullptr)();
      ++self.calls_in_a_row;
      if (self.call) Leave(loop, number);
      if (!loop.call.compare_exchange_strong(number, 0)) break;
    }
    if (events == 0) break;
  }
  self.leads = nullptr;
}

void NetworkThreads::MakeCalls(Thread& self) {
  while (self.call) std::exchange(self.call, nullptr)();
}

void NetworkThreads::Leave(Loop& loop, std::uint64_t call) {
  if (!loop.call.compare_exchange_strong(call, 0)) return;
  const std::scoped_lock lock(mutex_);
  free_.push_back(&loop);
  changed_.notify_one();
}

void NetworkThreads::Watch() {
  std::unique_lock lock(mutex_);
  for (int in_vain = 0; !ends_;) {
    if (in_vain > kInVain) {
      // A call that begins meanwhile sees either that nobody looks, or is seen itself.
      watches_ = false;
      const bool rests =
          std::all_of(loops_.begin(), loops_.end(), [](const Loop& loop) { return loop.call == 0; });
      if (rests) watched_.wait(lock, [this] { return ends_ || watches_; });
      watches_ = true;
      in_vain = 0;
    }
    watched_.wait_for(lock, kLook, [this] { return ends_; });
    ++in_vain;
    for (Loop& loop : loops_) {
      const std::uint64_t call = loop.call;
      if (call != 0) in_vain = 0;
      const bool lasts = call != 0 && std::exchange(loop.seen, call) == call;
      if (!lasts) continue;
      lock.unlock();
      Leave(loop, call);
      lock.lock();
    }
  }
}

}  // namespace mox
