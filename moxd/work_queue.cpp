#include "moxd/work_queue.h"

#include <utility>

namespace mox {

WorkQueue::WorkQueue(std::size_t workers, std::size_t most_waiting) : most_(most_waiting) {
  for (std::size_t worker = 0; worker < workers; ++worker) {
    threads_.emplace_back([this, worker] { Run(worker); });
  }
}

bool WorkQueue::TryAdd(Job job) {
  {
    const std::scoped_lock lock(mutex_);
    if (ends_ || jobs_.size() >= most_) return false;
    jobs_.push_back(std::move(job));
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

void WorkQueue::Run(std::size_t worker) {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ends_ || !jobs_.empty(); });
    if (jobs_.empty()) return;
    Job job = std::move(jobs_.front());
    jobs_.pop_front();
    ++busy_;
    lock.unlock();
    job(worker);
    job = nullptr;
    lock.lock();
    --busy_;
  }
}

}  // namespace mox
