#include "moxd/work_queue.h"

#include <algorithm>
#include <memory>
#include <new>
#include <utility>

namespace mox {

WorkQueue::WorkQueue(std::size_t workers, std::size_t most_waiting, Hand hand)
    : hand_(std::move(hand)), most_(most_waiting), most_that_wait_(std::max<std::size_t>(workers, 2) - 1) {
  for (std::size_t worker = workers; worker > 0; --worker) idle_.push_back(worker - 1);
}

bool WorkQueue::TryAdd(Job job, bool may_wait) {
  auto entry = std::make_shared<Entry>(Entry{std::move(job), may_wait});
  std::unique_lock lock(mutex_);
  if (ends_ || jobs_.size() >= most_) return false;
  // What waits while a worker is free may not run yet, so nobody is overtaken.
  if (idle_.empty() || !MayRun(*entry)) {
    jobs_.push_back(std::move(entry));
    return true;
  }
  const std::size_t worker = idle_.back();
  idle_.pop_back();
  Begin(lock, worker, entry);
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
  std::unique_lock lock(mutex_);
  ends_ = true;
  done_.wait(lock, [this] { return busy_ == 0 && jobs_.empty(); });
}

void WorkQueue::Begin(std::unique_lock<std::mutex>& lock, std::size_t worker,
                      const std::shared_ptr<Entry>& entry) {
  ++busy_;
  if (entry->may_wait) ++may_wait_;
  lock.unlock();
  try {
    hand_([this, worker, entry] { Run(worker, *entry); }, entry->may_wait);
  } catch (const std::bad_alloc&) {  // nobody else hears of it
    Run(worker, *entry);
  }
}

void WorkQueue::Run(std::size_t worker, Entry& entry) {
  entry.job(worker);
  entry.job = nullptr;
  std::unique_lock lock(mutex_);
  --busy_;
  if (entry.may_wait) --may_wait_;
  const auto next = std::find_if(jobs_.begin(), jobs_.end(), [this](const auto& at) { return MayRun(*at); });
  if (next == jobs_.end()) {
    idle_.push_back(worker);
    // Behind the lock: who waits for it may take the queue away.
    if (busy_ == 0 && jobs_.empty()) done_.notify_all();
    return;
  }
  const std::shared_ptr<Entry> job = std::move(*next);
  jobs_.erase(next);
  Begin(lock, worker, job);
}

}  // namespace mox
