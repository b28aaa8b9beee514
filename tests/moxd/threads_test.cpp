#include <gmock/gmock.h>

#include <set>
#include <thread>
#include <vector>

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

}  // namespace
}  // namespace mox
