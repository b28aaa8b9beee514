#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <latch>
#include <semaphore>

#include "moxd/work_queue.h"

namespace mox {
namespace {

TEST(QueueThreads, LeavesAWorkerToJobsThatWaitForNobody) {
  std::atomic<int> ended = 0;
  std::counting_semaphore<> begun(0), answered(0);
  std::latch others(1);
  WorkQueue queue(3, 6);
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

}  // namespace
}  // namespace mox
