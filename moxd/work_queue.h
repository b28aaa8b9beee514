#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace mox {

/// A bounded queue of jobs and the threads that take them, first come, first served; but of several workers
/// one is left for jobs that wait for nobody else. Of those that have nothing to do the one takes a job that
/// was the last to do one, since what it needs is still at hand.
class WorkQueue {
 public:
  /// Told which of the workers runs it, from 0. It raises nothing.
  using Job = std::function<void(std::size_t worker)>;

  WorkQueue(std::size_t workers, std::size_t most_waiting);
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
  /// Runs what waits, and ends the threads.
  void Stop();

 private:
  struct Entry {
    Job job;
    bool may_wait;
  };
  // One that has nothing to do sleeps until it is called.
  struct Sleeper {
    std::condition_variable called;
    bool is_called = false;
  };
  void Run(std::size_t worker);
  std::deque<Entry>::iterator Next();
  void Call(std::size_t worker);
  void CallAll();

  mutable std::mutex mutex_;
  std::deque<Sleeper> sleepers_;   // of each worker
  std::vector<std::size_t> idle_;  // the workers that sleep, the last one behind
  std::deque<Entry> jobs_;
  std::size_t most_;
  std::size_t busy_ = 0;
  std::size_t most_that_wait_;
  std::size_t may_wait_ = 0;  // of those that are busy
  bool ends_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace mox
