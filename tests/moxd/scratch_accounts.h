#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "moxd/accounts.h"
#include "tests/fakes/scratch_folder.h"

namespace mox {

constexpr UnixSeconds kHour = 3600;
constexpr UnixSeconds kDay = 24 * kHour;

/// An empty directory of its own, whose passwords cost nothing and whose clock stands still.
class ScratchAccounts : public testing::Test {
 protected:
  ScratchAccounts() { Accounts::Create(location_); }

  Accounts Open() const {
    return Accounts(location_, settings_, [now = now_] { return *now; });
  }

  ScratchFolder folder_;
  std::string location_ = folder_ / "imenik.db";
  AccountSettings settings_ = {.password_passes = 1,
                               .password_memory = 8192,
                               .longest_time = 3 * kDay,
                               .free_attempts_of_address = 30};
  std::shared_ptr<UnixSeconds> now_ = std::make_shared<UnixSeconds>(1'700'000'000);
};

}  // namespace mox
