#pragma once

#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "appserver/database.h"

namespace mox {

/// A folder of its own with a new company database in it.
class ScratchDatabase : public testing::Test {
 protected:
  ScratchDatabase() {
    std::string name = testing::TempDir() + "mox_database_XXXXXX";
    folder_ = ::mkdtemp(name.data());
    path_ = (folder_ / "tvrtka \"č\" = 1%.db").string();
    Database::Create(path_, WithDemo::kYes);
  }
  ~ScratchDatabase() override { std::filesystem::remove_all(folder_); }

  std::filesystem::path folder_;
  std::string path_;
};

}  // namespace mox
