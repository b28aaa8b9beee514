#pragma once

#include <atomic>
#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace mox {

/// Threads that take turns at the network. A loop is run by one thread at a time, which is then the only one
/// that touches what belongs to it. A call for whose end others need not wait long is made by the thread that
/// asked for it, between two events of its loop, so that nobody has to be woken for a short one; while it
/// lasts longer than a moment, another thread takes the loop over. A long one is made once another thread was
/// called to the loop.
class NetworkThreads {
 public:
  enum class Length { kShort, kLong };

  explicit NetworkThreads(std::size_t loops);
  ~NetworkThreads() { Stop(); }
  NetworkThreads(const NetworkThreads&) = delete;
  NetworkThreads& operator=(const NetworkThreads&) = delete;

  std::size_t Loops() const { return loops_.size(); }
  boost::asio::io_context& Io(std::size_t loop) { return loops_[loop].io; }

  /// With threads for so many calls at a time, while a thread is left to each loop.
  void Start(std::size_t calls);
  /// Makes a call on a thread of these, soon and outside of any event of a loop.
  void Call(std::function<void()> call, Length length);
  /// Whether it is looked at how long calls last: not where there were none for some time.
  bool IsWatched() const { return watches_; }
  /// Ends the loops, and the threads after the calls that were begun.
  void Stop();

 private:
  struct Loop {
    boost::asio::io_context io{1};
    boost::asio::executor_work_guard<boost::asio::io_context::executor_type> work{io.get_executor()};
    std::uint64_t calls = 0;              // by its own threads
    std::atomic<std::uint64_t> call = 0;  // which its thread makes meanwhile, 0 for none
    std::uint64_t seen = 0;               // the last look's
  };
  struct Thread;
  static thread_local Thread* here_;

  void Run();
  void Lead(Loop& loop, Thread& self);
  void MakeCalls(Thread& self);
  /// Leaves the loop to another thread, unless that has happened.
  void Leave(Loop& loop, std::uint64_t call);
  void Watch();

  std::deque<Loop> loops_;
  std::vector<std::thread> threads_;
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Loop*> free_;                   // nobody is at
  std::deque<std::function<void()>> calls_;  // of other threads
  bool ends_ = false;

  std::thread watch_;
  std::condition_variable watched_;
  std::atomic<bool> watches_ = false;
};

}  // namespace mox
