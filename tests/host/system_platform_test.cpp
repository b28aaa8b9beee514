#include "mox/host/system_platform.h"

#include <pwd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "mox/foundation/files.h"
#include "mox/host/command_line.h"
#include "tests/fakes/scratch_folder.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

namespace fs = std::filesystem;

TEST(CommandLine, SplitsAsWindowsDoes) {
  const auto split = [](const Words& row) {
    std::string arguments;
    for (const std::string& argument : SplitCommandLine(row.at(0))) arguments += '[' + argument + ']';
    return arguments;
  };
  const auto file = [](const Words& row) { return std::string(WithoutQuotes(row.at(0))); };
  ExpectTables("command_line", {{"split", split}, {"file", file}}, "host");
}

// A shell script in a folder with blanks in its name, as a program.
class StartedProgramTest : public testing::Test {
 protected:
  std::unique_ptr<AppProgram> Start(const std::string& script, const std::string& parameters = "") {
    const std::string file = folder_ + "a program.exe";
    std::ofstream(file) << "#!/bin/sh\ncd '" << folder_ << "'\n" << script << "\n";
    fs::permissions(file, fs::perms::owner_all);
    return platform_.StartHidden('"' + file + '"', parameters);
  }
  // The exit code after the program's end.
  int EndOf(AppProgram& program) {
    const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (program.ExitCode() == kStillActive && std::chrono::steady_clock::now() < give_up) {
      platform_.ProcessMessages();
    }
    return program.ExitCode();
  }

  ScratchFolder scratch_;
  std::string folder_ = scratch_ / "";
  SystemPlatform platform_;
};

TEST_F(StartedProgramTest, GetsItsArgumentsAndNoInput) {
  const auto program = Start("printf '[%s]' \"$@\" > arguments; cat > input; echo shown; exit 7",
                             " -link \"C:\\my files\\a.txt\" '$HOME' *");
  ASSERT_NE(program, nullptr);
  EXPECT_EQ(EndOf(*program), 7);
  EXPECT_EQ(program->ExitCode(), 7) << "asked again";
  EXPECT_EQ(ReadWholeFile(folder_ + "arguments"), "[-link][C:\\my files\\a.txt]['$HOME'][*]");
  EXPECT_EQ(ReadWholeFile(folder_ + "input"), "");
}

TEST_F(StartedProgramTest, IsStillActiveUntilItsEnd) {
  const auto program = Start("until [ -e end ]; do sleep 0.01; done; kill -9 $$");
  ASSERT_NE(program, nullptr);
  for (int i = 0; i < 5; ++i) {
    errno = EINTR;  // of an earlier call
    EXPECT_EQ(program->ExitCode(), kStillActive);
  }
  std::ofstream(folder_ + "end");
  EXPECT_EQ(EndOf(*program), 128 + 9);
}

TEST_F(StartedProgramTest, LeavesNothingBehindWhenNobodyWaits) {
  ASSERT_NE(Start("until [ -e end ]; do sleep 0.01; done"), nullptr);
  siginfo_t info{};
  ASSERT_EQ(::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT), 0) << "it goes on";
  std::ofstream(folder_ + "end");
  const auto give_up = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (::waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         std::chrono::steady_clock::now() < give_up) {
    platform_.ProcessMessages();
  }
  EXPECT_EQ(errno, ECHILD) << "a child is left";
}

// A host may wait for all of its children itself.
TEST_F(StartedProgramTest, HasEndedWhenSomebodyElseWaitedForIt) {
  const auto program = Start("exit 7");
  ASSERT_NE(program, nullptr);
  ASSERT_GT(::waitpid(-1, nullptr, 0), 0);
  EXPECT_EQ(program->ExitCode(), -1);
}

TEST_F(StartedProgramTest, CannotBeStarted) {
  EXPECT_EQ(platform_.StartHidden('"' + folder_ + "none.exe\"", ""), nullptr);
  EXPECT_EQ(platform_.StartHidden(folder_, ""), nullptr) << "a folder";
  std::ofstream(folder_ + "text.exe") << "text";
  EXPECT_EQ(platform_.StartHidden(folder_ + "text.exe", ""), nullptr) << "not to be executed";
}

TEST(SystemPlatform, KnowsItsFolderAndWhatItWasGiven) {
  SystemPlatform platform([] { return std::string("copied"); });
  EXPECT_TRUE(fs::equivalent(platform.ApplicationFolder() + "mox_host_test", "/proc/self/exe"));
  EXPECT_EQ(platform.StateFolder(), platform.ApplicationFolder()) << "the user's own, and he may write there";
  EXPECT_EQ(platform.ClipboardText() + SystemPlatform().ClipboardText(), "copied");
  EXPECT_EQ(platform.SetCursor(MouseCursor::kHourglass), MouseCursor::kDefault);
  EXPECT_EQ(platform.SetCursor(MouseCursor::kDefault), MouseCursor::kHourglass);
  EXPECT_FALSE(platform.IsTerminated());
  platform.Terminate();
  EXPECT_TRUE(platform.IsTerminated());
}

// A variable of the environment while a test runs.
class Variable {
 public:
  explicit Variable(const char* name) : name_(name) {
    if (const char* const value = std::getenv(name)) before_ = value;
  }
  ~Variable() { Set(before_ ? before_->c_str() : nullptr); }
  Variable(const Variable&) = delete;
  Variable& operator=(const Variable&) = delete;
  void Set(const char* value) { value == nullptr ? ::unsetenv(name_) : ::setenv(name_, value, 1); }

 private:
  const char* name_;
  std::optional<std::string> before_;
};

TEST(SystemPlatform, FindsTheFolderOfAUsersState) {
  const ScratchFolder scratch;
  Variable states("XDG_STATE_HOME");
  Variable home("HOME");
  home.Set(scratch.path().c_str());
  states.Set((scratch / "states").c_str());
  EXPECT_EQ(SystemPlatform::UserStateFolder(), scratch / "states/mox/");
  EXPECT_EQ(fs::status(scratch / "states/mox").permissions(), fs::perms::owner_all);
  for (const char* const relative : {"states", ""}) {
    states.Set(relative);
    EXPECT_EQ(SystemPlatform::UserStateFolder(), scratch / ".local/state/mox/");
  }
  if (::geteuid() != 0) return;
  // Without a home of the environment that of the user counts; this one has none where he could write.
  constexpr uid_t kNobody = 65534;
  const std::string of_nobody = ::getpwuid(kNobody)->pw_dir;
  for (const char* const relative : {"home", static_cast<const char*>(nullptr)}) {
    home.Set(relative);
    ASSERT_EQ(::seteuid(kNobody), 0);
    const std::string refused = TextOrError([] { return SystemPlatform::UserStateFolder(); });
    ASSERT_EQ(::seteuid(0), 0);
    EXPECT_TRUE(refused.starts_with("! " + of_nobody + "/.local/state/mox/: cannot be made: ")) << refused;
  }
}

}  // namespace
}  // namespace mox
