#include "mox/host/settings_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>

#include "mox/foundation/error.h"
#include "mox/foundation/files.h"
#include "tests/fakes/error_of.h"
#include "tests/fakes/own_process.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;

class SettingsFileTest : public testing::Test {
 protected:
  void Write(std::string_view bytes) { std::ofstream(path_, std::ios::binary) << bytes; }
  std::string Bytes() const { return ReadWholeFile(path_.string()); }
  std::ptrdiff_t FilesInFolder() const { return std::distance(fs::directory_iterator(folder_), {}); }

  // A write that must fail: nothing has changed then.
  void ExpectRefusal(const std::function<void(SettingsFile&)>& write, const char* reason) {
    const std::string before = Bytes();
    const std::ptrdiff_t files = FilesInFolder();
    SettingsFile settings(path_.string());
    const std::string value = settings.ReadString("GENERAL", "KOL_NUM", "none");
    EXPECT_THAT(ErrorOf([&] { write(settings); }),
                testing::AllOf(HasSubstr(path_.string()), HasSubstr(reason)));
    EXPECT_EQ(Bytes(), before);
    EXPECT_EQ(FilesInFolder(), files);
    EXPECT_EQ(settings.ReadString("GENERAL", "KOL_NUM", "none"), value);
  }

  ScratchFolder scratch_;
  fs::path folder_ = scratch_.path();
  fs::path path_ = folder_ / "user.ini";
};

// Write protection does not hold for root: gives up its rights for a while.
class OrdinaryUser {
 public:
  OrdinaryUser() { done_ = ::geteuid() != 0 || ::seteuid(65534) == 0; }
  ~OrdinaryUser() {
    if (done_ && ::getuid() == 0) done_ = ::seteuid(0) == 0;
  }
  bool done() const { return done_; }

 private:
  bool done_ = false;
};

TEST_F(SettingsFileTest, ComesWithTheFirstWrite) {
  SettingsFile settings(path_.string());
  EXPECT_EQ(settings.ReadInteger("GENERAL", "KOL_NUM", 2), 2);
  EXPECT_FALSE(fs::exists(path_));
  settings.WriteInteger("GENERAL", "KOL_NUM", 3);
  settings.WriteString("GENERAL", "KOL_MASK", "#,0.000;-#,0.000");
  EXPECT_EQ(settings.ReadInteger("general", "kol_num", 2), 3);
  EXPECT_EQ(Bytes(), "[GENERAL]\nKOL_NUM=3\nKOL_MASK=#,0.000;-#,0.000\n");
  EXPECT_EQ(SettingsFile(path_.string()).ReadString("GENERAL", "KOL_MASK", ""), "#,0.000;-#,0.000");
}

TEST_F(SettingsFileTest, KeepsPermissionsEncodingAndWhatOthersStored) {
  Write("; \x8Akola\r\n[GENERAL]\r\nKOL_NUM=2\r\n");
  fs::permissions(path_, fs::perms(0640));
  const fs::path link = folder_ / "link.ini";
  fs::create_symlink("user.ini", link);
  SettingsFile settings(link.string());
  SettingsFile(path_.string()).WriteString("GENERAL", "OTHER", "1");
  settings.WriteString("GENERAL", "NAME", "Žgela");
  EXPECT_EQ(Bytes(), "; \x8Akola\r\n[GENERAL]\r\nKOL_NUM=2\r\nOTHER=1\r\nNAME=\x8Egela\r\n");
  EXPECT_EQ(settings.ReadString("GENERAL", "OTHER", ""), "1");
  EXPECT_EQ(settings.ReadString("GENERAL", "NAME", ""), "Žgela");
  EXPECT_EQ(fs::status(path_).permissions(), fs::perms(0640));
  EXPECT_TRUE(fs::is_symlink(link));
  EXPECT_EQ(FilesInFolder(), 2);
}

TEST_F(SettingsFileTest, LeavesTheFileAloneWhenNothingChanges) {
  Write("[GENERAL]\nKOL_NUM = 2\n");
  const auto long_ago = fs::last_write_time(path_) - std::chrono::hours(1);
  fs::last_write_time(path_, long_ago);
  SettingsFile(path_.string()).WriteInteger("GENERAL", "KOL_NUM", 2);
  EXPECT_EQ(fs::last_write_time(path_), long_ago);
}

TEST_F(SettingsFileTest, RefusesTextsThatTheFileCannotHold) {
  Write("[GENERAL]\nKOL_NUM=2 \x9E\n");
  ExpectRefusal([](SettingsFile& settings) { settings.WriteString("GENERAL", "KOL_NUM", "Ω"); }, "U+03A9");
}

TEST_F(SettingsFileTest, KeepsTheOldFileWhenTheDiskRefuses) {
  Write("[GENERAL]\nKOL_NUM=2\n");
  ExpectRefusal(
      [](SettingsFile& settings) {
        const FullDisk disk(10);
        settings.WriteInteger("GENERAL", "KOL_NUM", 3);
      },
      "File too large");
}

TEST_F(SettingsFileTest, RefusesWriteProtectedFilesAndFolders) {
  Write("[GENERAL]\nKOL_NUM=2\n");
  for (const bool of_file : {true, false}) {
    fs::permissions(path_, fs::perms(of_file ? 0444 : 0666));
    fs::permissions(folder_, fs::perms(of_file ? 0777 : 0555));
    const OrdinaryUser user;
    ASSERT_TRUE(user.done());
    ExpectRefusal([](SettingsFile& settings) { settings.WriteInteger("GENERAL", "KOL_NUM", 3); },
                  "Permission denied");
  }
}

TEST_F(SettingsFileTest, RefusesPathsThatAreNoFiles) {
  EXPECT_ERROR(SettingsFile(folder_.string()), "! " + folder_.string() + ": is not a file");
  const std::string pipe = folder_.string() + ".pipe";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_THROW(SettingsFile{pipe}, Error);
  fs::remove(pipe);
  SettingsFile settings((folder_ / "no" / "user.ini").string());
  EXPECT_THROW(settings.WriteInteger("GENERAL", "KOL_NUM", 3), Error);
  Write("\xFF\xFE[");
  EXPECT_THROW(SettingsFile(path_.string()), Error);
  fs::create_directory(folder_ / "folder.ini");
  EXPECT_THROW(ReplaceFile((folder_ / "folder.ini").string(), "x"), Error);
  EXPECT_EQ(FilesInFolder(), 2);
}

}  // namespace
}  // namespace mox
