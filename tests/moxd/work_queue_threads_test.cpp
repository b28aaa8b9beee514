#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <latch>
#include <list>
#include <mutex>
#include <semaphore>
#include <thread>
#include <vector>

#include "moxd/work_queue.h"

namespace mox {
namespace {

// As many threads as anybody asks for.
class Crew {
 public:
  ~Crew() {
    // Those that are handed a job may hand over one before they end.
    for (bool joined = true; joined;) {
      std::list<std::thread> threads;
      {
        const std::scoped_lock lock(mutex_);
        threads.swap(threads_);
      }
      joined = !threads.empty();
      for (std::thread& thread : threads) thread.join();
    }
  }
  void Call(std::function<void()> call) {
    const std::scoped_lock lock(mutex_);
    threads_.emplace_back(std::move(call));
  }
  WorkQueue::Hand Hand() {
    return [this](std::function<void()> call, bool /*may_wait*/) { Call(std::move(call)); };
  }

 private:
  std::mutex mutex_;
  std::list<std::thread> threads_;
};

TEST(QueueThreads, LeaveAWorkerToJobsThatWaitForNobody) {
  Crew crew;
  std::atomic<int> ended = 0;
  std::counting_semaphore<> begun(0), answered(0);
  std::latch others(1);
  WorkQueue queue(3, 6, crew.Hand());
  const auto writes = [&](std::size_t) {
    begun.release();
    others.wait();
    ++ended;
  };
  for (int i = 0; i < 6; ++i) {
    EXPECT_TRUE(queue.TryAdd(writes, true));
    if (i < 2) begun.acquire();
  }
  EXPECT_EQ(queue.Busy(), 2U);
  EXPECT_EQ(queue.Waiting(), 4U);
  EXPECT_TRUE(queue.TryAdd([&](std::size_t) { answered.release(); }));
  EXPECT_TRUE(answered.try_acquire_for(std::chrono::seconds(60)));
  EXPECT_EQ(queue.Waiting(), 4U);
  for (const bool is_taken : {true, true, false}) EXPECT_EQ(queue.TryAdd(writes, true), is_taken);
  others.count_down();
  queue.Stop();
  EXPECT_EQ(ended, 8);
}

// However they come: each job is run once, of those that may wait one fewer than there are workers at a time,
// and those that are left when it ends.
TEST(QueueThreads, RunEachJobOnce) {
  constexpr int kWorkers = 4;
  constexpr int kJobs = 200;
  Crew crew;
  std::atomic<int> ran = 0;
  std::atomic<int> waiting = 0;
  std::atomic<int> most_waiting = 0;
  std::atomic<unsigned> busy = 0;  // a bit for each worker
  WorkQueue queue(kWorkers, 50, crew.Hand());
  const auto add = [&](bool may_wait) {
    const auto job = [&, may_wait](std::size_t worker) {
      const unsigned bit = 1U << worker;
      EXPECT_LT(worker, kWorkers);
      EXPECT_EQ(busy.fetch_or(bit) & bit, 0U);
      const int now = may_wait ? ++waiting : 0;
      for (int most = most_waiting; now > most && !most_waiting.compare_exchange_weak(most, now);) continue;
      std::this_thread::yield();
      if (may_wait) --waiting;
      busy.fetch_and(~bit);
      ++ran;
    };
    while (!queue.TryAdd(job, may_wait)) std::this_thread::yield();
  };
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 8; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < kJobs; ++i) add(i % 3 != 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  queue.Stop();
  EXPECT_EQ(ran, 8 * kJobs);
  EXPECT_THAT(most_waiting.load(), testing::AllOf(testing::Ge(1), testing::Le(kWorkers - 1)));
  EXPECT_FALSE(queue.TryAdd([](std::size_t) {}));
}

}  // namespace
}  // namespace mox
