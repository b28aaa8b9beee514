#include "moxd/work_queue.h"

#include <algorithm>
#include <utility>

namespace mox {

WorkQueue::WorkQueue(std::size_t workers, std::size_t most_waiting)
    : most_(most_waiting), most_that_wait_(std::max<std::size_t>(workers, 2) - 1) {
  for (std::size_t worker = 0; worker < workers; ++worker) {
    threads_.emplace_back([this, worker] { Run(worker); });
  }
}

bool WorkQueue::TryAdd(Job job, bool may_wait) {
  {
    const std::scoped_lock lock(mutex_);
    if (ends_ || jobs_.size() >= most_) return false;
    jobs_.push_back({std::move(job), may_wait});
  }
  changed_.notify_one();
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
  }
  changed_.notify_all();
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
    changed_.wait(lock, [this] { return (ends_ && jobs_.empty()) || Next() != jobs_.end(); });
    if (jobs_.empty()) return;
    const auto next = Next();
    Entry entry = std::move(*next);
    jobs_.erase(next);
    const std::size_t waiting = entry.may_wait ? 1 : 0;
    ++busy_;
    may_wait_ += waiting;
    const bool wakes = ends_;
    lock.unlock();
    if (wakes) changed_.notify_all();
    entry.job(worker);
    entry.job = nullptr;
    lock.lock();
    --busy_;
    may_wait_ -= waiting;
  }
}

}  // namespace mox
