#include "moxd/work_queue.h"

#include <algorithm>
#include <utility>

namespace mox {

WorkQueue::WorkQueue(std::size_t workers, std::size_t most_waiting)
    : sleepers_(workers), most_(most_waiting), most_that_wait_(std::max<std::size_t>(workers, 2) - 1) {
  for (std::size_t worker = 0; worker < workers; ++worker) {
    threads_.emplace_back([this, worker] { Run(worker); });
  }
}

void WorkQueue::Call(std::size_t worker) {
  sleepers_[worker].is_called = true;
  sleepers_[worker].called.notify_one();
}

void WorkQueue::CallAll() {
  for (const std::size_t worker : std::exchange(idle_, {})) Call(worker);
}

bool WorkQueue::TryAdd(Job job, bool may_wait) {
  const std::scoped_lock lock(mutex_);
  if (ends_ || jobs_.size() >= most_) return false;
  jobs_.push_back({std::move(job), may_wait});
  if (idle_.empty()) return true;
  const std::size_t last = idle_.back();
  idle_.pop_back();
  Call(last);
  return true;
}

bool WorkQueue::HasRoom() const {
  const std::scoped_lock lock(mutex_);
  return !ends_ && jobs_.size() < most_;
}

std::size_t WorkQueue::Waiting() const {
  const std::scoped_lock lock(mutex_);
  return jobs_.size();
}

std::size_t WorkQueue::Busy() const {
  const std::scoped_lock lock(mutex_);
  return busy_;
}

void WorkQueue::Stop() {
  {
    const std::scoped_lock lock(mutex_);
    ends_ = true;
    CallAll();
  }
  for (std::thread& thread : threads_) {
    if (thread.joinable()) thread.join();
  }
}

std::deque<WorkQueue::Entry>::iterator WorkQueue::Next() {
  return std::find_if(jobs_.begin(), jobs_.end(),
                      [this](const Entry& entry) { return !entry.may_wait || may_wait_ < most_that_wait_; });
}

void WorkQueue::Run(std::size_t worker) {
  std::unique_lock lock(mutex_);
  for (;;) {
    const auto next = Next();
    if (next == jobs_.end()) {
      if (ends_ && jobs_.empty()) return;
      Sleeper& own = sleepers_[worker];
      own.is_called = false;
      idle_.push_back(worker);
      own.called.wait(lock, [&own] { return own.is_called; });
      continue;
    }
    Entry entry = std::move(*next);
    jobs_.erase(next);
    const std::size_t waiting = entry.may_wait ? 1 : 0;
    ++busy_;
    may_wait_ += waiting;
    lock.unlock();
    entry.job(worker);
    entry.job = nullptr;
    lock.lock();
    --busy_;
    may_wait_ -= waiting;
    if (ends_) CallAll();
  }
}

}  // namespace mox
