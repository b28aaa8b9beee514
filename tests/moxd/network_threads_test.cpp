#include "moxd/network_threads.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <boost/asio/post.hpp>
#include <chrono>
#include <semaphore>
#include <thread>

namespace mox {
namespace {

using Length = NetworkThreads::Length;

constexpr std::chrono::seconds kLongest{60};

// What is done at an event of a loop, and the thread that did it.
std::thread::id AtEvent(
    NetworkThreads& threads, std::function<void()> act = [] {}) {
  std::thread::id thread;
  std::binary_semaphore done(0);
  boost::asio::post(threads.Io(0), [&] {
    act();
    thread = std::this_thread::get_id();
    done.release();
  });
  EXPECT_TRUE(done.try_acquire_for(kLongest));
  return thread;
}

// As after some time without calls; the next one has to have them looked at again.
void WaitUntilNobodyLooks(const NetworkThreads& threads) {
  const auto begin = std::chrono::steady_clock::now();
  while (threads.IsWatched() && std::chrono::steady_clock::now() - begin < kLongest)
    std::this_thread::yield();
  EXPECT_FALSE(threads.IsWatched());
}

TEST(NetworkThreads, MakeAShortCallWhereItWasAskedFor) {
  NetworkThreads threads(1);
  threads.Start(2);
  std::thread::id called, called_next;
  std::binary_semaphore ended(0);
  bool is_at_event = false;
  const std::thread::id asked = AtEvent(threads, [&] {
    is_at_event = true;
    threads.Call(
        [&] {
          EXPECT_FALSE(is_at_event);
          called = std::this_thread::get_id();
          // Of two calls the second waits for the first one, and the loop for neither.
          threads.Call(
              [&] {
                called_next = std::this_thread::get_id();
                ended.release();
              },
              Length::kShort);
          EXPECT_EQ(called_next, std::thread::id());
        },
        Length::kShort);
    is_at_event = false;
  });
  ASSERT_TRUE(ended.try_acquire_for(kLongest));
  EXPECT_EQ(called, asked);
  EXPECT_EQ(called_next, asked);
  AtEvent(threads);
}

TEST(NetworkThreads, LeaveAThreadToTheLoopWhileCallsLast) {
  for (const Length length : {Length::kShort, Length::kLong}) {
    NetworkThreads threads(1);
    constexpr int kCalls = 3;
    threads.Start(kCalls);
    AtEvent(threads, [&] { threads.Call([] {}, Length::kShort); });
    WaitUntilNobodyLooks(threads);
    std::counting_semaphore<> begun(0), may_end(0);
    std::atomic<int> ended = 0;
    for (int i = 0; i < kCalls; ++i) {
      AtEvent(threads, [&] {
        threads.Call(
            [&] {
              begun.release();
              may_end.acquire();
              ++ended;
            },
            length);
      });
      ASSERT_TRUE(begun.try_acquire_for(kLongest));
      AtEvent(threads);
    }
    EXPECT_EQ(ended, 0);
    may_end.release(kCalls);
    AtEvent(threads);
    threads.Stop();
    EXPECT_EQ(ended, kCalls);
  }
}

TEST(NetworkThreads, MakeTheCallsOfOthers) {
  NetworkThreads threads(2);
  threads.Start(2);
  constexpr int kCalls = 500;
  std::atomic<int> made = 0;
  std::array<std::thread, 3> others;
  for (std::thread& other : others) {
    other = std::thread([&] {
      for (int i = 0; i < kCalls; ++i) {
        threads.Call([&] { ++made; }, i % 2 == 0 ? Length::kShort : Length::kLong);
        const auto at = static_cast<std::size_t>(i % 2);
        boost::asio::post(threads.Io(at), [&] { threads.Call([&] { ++made; }, Length::kShort); });
      }
    });
  }
  for (std::thread& other : others) other.join();
  const auto begin = std::chrono::steady_clock::now();
  while (made < 2 * kCalls * 3 && std::chrono::steady_clock::now() - begin < kLongest)
    std::this_thread::yield();
  EXPECT_EQ(made, 2 * kCalls * 3);
  AtEvent(threads);
}

}  // namespace
}  // namespace mox
