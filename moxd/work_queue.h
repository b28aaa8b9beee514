#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace mox {

/// A bounded queue of jobs before a few workers, first come, first served; but of several workers one is left
/// for jobs that wait for nobody else. A worker is what a job needs to be done, and no thread. Of the free
/// ones the one takes a job that was the last to do one, since what it needs is still at hand.
class WorkQueue {
 public:
  /// Told which of the workers does it, from 0. It raises nothing.
  using Job = std::function<void(std::size_t worker)>;
  /// Lets a thread make a call, and does not wait for it. There are threads for as many as there are workers.
  using Hand = std::function<void(std::function<void()> call, bool may_wait)>;

  WorkQueue(std::size_t workers, std::size_t most_waiting, Hand hand);
  ~WorkQueue() { Stop(); }
  WorkQueue(const WorkQueue&) = delete;
  WorkQueue& operator=(const WorkQueue&) = delete;

  /// False where too many wait, or nothing more is taken. A job that `may_wait` may have to wait for other
  /// programs while it runs, as one that writes has to.
  bool TryAdd(Job job, bool may_wait = false);
  /// Whether one more would be taken.
  bool HasRoom() const;
  std::size_t Waiting() const;
  std::size_t Busy() const;
  /// Takes nothing more, and returns after all that was taken; the threads have to be there so long.
  void Stop();

 private:
  struct Entry {
    Job job;
    bool may_wait;
  };
  bool MayRun(const Entry& entry) const { return !entry.may_wait || may_wait_ < most_that_wait_; }
  /// Behind the lock, which it takes off.
  void Begin(std::unique_lock<std::mutex>& lock, std::size_t worker, const std::shared_ptr<Entry>& entry);
  void Run(std::size_t worker, Entry& entry);

  mutable std::mutex mutex_;
  std::condition_variable done_;
  const Hand hand_;
  std::vector<std::size_t> idle_;            // the workers that are free, the last one behind
  std::deque<std::shared_ptr<Entry>> jobs_;  // that wait
  const std::size_t most_;
  const std::size_t most_that_wait_;
  std::size_t busy_ = 0;
  std::size_t may_wait_ = 0;  // of those that are busy
  bool ends_ = false;
};

}  // namespace mox
