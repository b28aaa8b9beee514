#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <set>
#include <thread>
#include <vector>

#include "moxd/work_queue.h"
#include "tests/moxd/scratch_accounts.h"

namespace mox {
namespace {

using Outcome = LogInResult::Outcome;

class Threads : public ScratchAccounts {
 protected:
  // What so many attempts at the same time come to, each through accounts of its own.
  template <typename Attempt>
  std::vector<LogInResult> AtOnce(int count, const Attempt& attempt) {
    std::vector<LogInResult> results(static_cast<std::size_t>(count));
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
      threads.emplace_back([&, i] {
        Accounts own = Open();
        results[static_cast<std::size_t>(i)] = attempt(own, i);
      });
    }
    for (std::thread& thread : threads) thread.join();
    return results;
  }
};

constexpr int kAtOnce = 64;

TEST_F(Threads, LogInAtOnce) {
  Accounts accounts = Open();
  accounts.AddCompany("mala", "/mala.db");
  for (int i = 0; i < kAtOnce; i += 2) {
    accounts.AddUser("k" + std::to_string(i), "lozinka" + std::to_string(i));
    accounts.Grant("k" + std::to_string(i), "mala", {FindRole("citanje")});
  }
  // Two desks of each user.
  const auto results = AtOnce(kAtOnce, [](Accounts& own, int i) {
    const std::string number = std::to_string(i - i % 2);
    return own.LogIn("k" + number, "lozinka" + number, "192.0.2.1");
  });
  std::set<std::string> tokens;
  for (std::size_t i = 0; i < results.size(); ++i) {
    ASSERT_EQ(results[i].outcome, Outcome::kLoggedIn);
    tokens.insert(results[i].token);
    EXPECT_EQ(accounts.SessionOf(results[i].token, "mala")->user, "k" + std::to_string(i - i % 2));
  }
  EXPECT_EQ(tokens.size(), results.size());
}

// Guesses at the same time are answered as often as one after the other; the right one may be among them.
TEST_F(Threads, GuessAtOnce) {
  Accounts accounts = Open();
  accounts.AddUser("ana", "lozinka0");
  const auto results = AtOnce(kAtOnce, [](Accounts& own, int i) {
    return own.LogIn("ana", "lozinka0" + std::to_string(i), "192.0.2.1");
  });
  std::int64_t answered = 0;
  for (const LogInResult& result : results) answered += result.outcome == Outcome::kRefused ? 1 : 0;
  EXPECT_EQ(answered, settings_.free_attempts_of_account + 1);
  EXPECT_EQ(accounts.LogIn("ana", "lozinka0", "192.0.2.1").outcome, Outcome::kWait);
}

// However they sleep and are called: each job is run once, of those that may wait one fewer than there are
// workers at a time, and those that are left when it ends.
TEST(QueueThreads, RunEachJobOnce) {
  constexpr int kWorkers = 4;
  constexpr int kJobs = 200;
  std::atomic<int> ran = 0;
  std::atomic<int> waiting = 0;
  std::atomic<int> most_waiting = 0;
  WorkQueue queue(kWorkers, 50);
  const auto add = [&](bool may_wait) {
    const auto job = [&, may_wait](std::size_t worker) {
      EXPECT_LT(worker, kWorkers);
      const int now = may_wait ? ++waiting : 0;
      for (int most = most_waiting; now > most && !most_waiting.compare_exchange_weak(most, now);) continue;
      std::this_thread::yield();
      if (may_wait) --waiting;
      ++ran;
    };
    while (!queue.TryAdd(job, may_wait)) std::this_thread::yield();
  };
  for (int i = 1; i <= kJobs; ++i) {  // one at a time, to workers that all sleep
    add(i % 2 == 0);
    while (ran < i) std::this_thread::yield();
  }
  std::vector<std::thread> threads;
  for (int thread = 0; thread < 3; ++thread) {
    threads.emplace_back([&] {
      for (int i = 0; i < kJobs; ++i) add(i % 3 != 0);
    });
  }
  for (std::thread& thread : threads) thread.join();
  queue.Stop();
  EXPECT_EQ(ran, 4 * kJobs);
  EXPECT_THAT(most_waiting.load(), testing::AllOf(testing::Ge(1), testing::Le(kWorkers - 1)));
  EXPECT_FALSE(queue.TryAdd([](std::size_t) {}));
}

}  // namespace
}  // namespace mox
