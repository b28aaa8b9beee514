#include "mox/host/system_platform.h"

#include <fcntl.h>
#include <pwd.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "mox/foundation/error.h"
#include "mox/host/command_line.h"

extern char** environ;

namespace mox {
namespace {

// The exit code of a child, kStillActive while it runs. One that has ended is gone afterwards: it is asked
// only once.
int ExitCodeOf(pid_t child) {
  int status = 0;
  pid_t ended = 0;
  do {
    ended = ::waitpid(child, &status, WNOHANG);
  } while (ended < 0 && errno == EINTR);
  if (ended == 0) return kStillActive;
  constexpr int kUnknown = -1;  // somebody else waited for it
  if (ended < 0) return kUnknown;
  constexpr int kSignalBase = 128;
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalBase + WTERMSIG(status);
}

// Where programs keep what they remember of a user, as the XDG base directories have it.
std::filesystem::path HomeOfStates() {
  const char* const states = std::getenv("XDG_STATE_HOME");
  if (states != nullptr && states[0] == '/') return states;
  const char* home = std::getenv("HOME");
  if (home == nullptr || home[0] != '/') {
    const passwd* const user = ::getpwuid(::geteuid());
    home = user == nullptr ? nullptr : user->pw_dir;
  }
  if (home == nullptr) throw Error("the folder of the user is not known");
  return std::filesystem::path(home) / ".local" / "state";
}

// How a hidden program is started: without input and output, and with no signal blocked or ignored that the
// host blocks or ignores for itself.
class HiddenStart {
 public:
  HiddenStart() {
    ::posix_spawn_file_actions_init(&files_);
    ::posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    ::posix_spawn_file_actions_addopen(&files_, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    sigset_t none;
    sigset_t by_default;
    ::sigemptyset(&none);
    ::sigemptyset(&by_default);
    ::sigaddset(&by_default, SIGPIPE);
    ::sigaddset(&by_default, SIGCHLD);
    ::posix_spawnattr_init(&attributes_);
    ::posix_spawnattr_setsigmask(&attributes_, &none);
    ::posix_spawnattr_setsigdefault(&attributes_, &by_default);
    ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~HiddenStart() {
    ::posix_spawn_file_actions_destroy(&files_);
    ::posix_spawnattr_destroy(&attributes_);
  }
  HiddenStart(const HiddenStart&) = delete;
  HiddenStart& operator=(const HiddenStart&) = delete;

  // None when it cannot be started.
  std::optional<pid_t> Run(std::vector<std::string>& words) const {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child = 0;
    if (::posix_spawn(&child, arguments[0], &files_, &attributes_, arguments.data(), environ) != 0) return {};
    return child;
  }

 private:
  posix_spawn_file_actions_t files_{};
  posix_spawnattr_t attributes_{};
};

// They are asked for now and then, so that none stays in the system's table after it has ended.
struct ChildList {
  std::vector<pid_t> running;

  void Forget() {
    std::erase_if(running, [](pid_t child) { return ExitCodeOf(child) != kStillActive; });
  }
};

class RunningProgram : public AppProgram {
 public:
  RunningProgram(pid_t child, std::shared_ptr<ChildList> children)
      : child_(child), children_(std::move(children)) {}
  ~RunningProgram() override {
    if (ExitCode() == kStillActive) children_->running.push_back(child_);
  }
  RunningProgram(const RunningProgram&) = delete;
  RunningProgram& operator=(const RunningProgram&) = delete;

  int ExitCode() override {
    if (exit_code_ == kStillActive) exit_code_ = ExitCodeOf(child_);
    return exit_code_;
  }

 private:
  pid_t child_;
  std::shared_ptr<ChildList> children_;
  int exit_code_ = kStillActive;
};

}  // namespace

struct SystemPlatform::Children : ChildList {};

SystemPlatform::SystemPlatform(std::function<std::string()> clipboard)
    : clipboard_(std::move(clipboard)), children_(std::make_shared<Children>()) {}

SystemPlatform::~SystemPlatform() { children_->Forget(); }

MouseCursor SystemPlatform::SetCursor(MouseCursor cursor) { return std::exchange(cursor_, cursor); }

void SystemPlatform::ProcessMessages() {
  constexpr auto kPause = std::chrono::milliseconds(2);
  children_->Forget();
  std::this_thread::sleep_for(kPause);
}

std::string SystemPlatform::ApplicationFolder() const {
  std::error_code error;
  const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
  if (error) throw Error("the folder of the program is not known: " + error.message());
  return program.parent_path() / "";
}

std::string SystemPlatform::StateFolder() const {
  const std::string own = ApplicationFolder();
  struct stat status {};
  const bool is_his = ::stat(own.c_str(), &status) == 0 && status.st_uid == ::geteuid();
  if (is_his && ::access(own.c_str(), W_OK) == 0) return own;
  return UserStateFolder();
}

std::string SystemPlatform::UserStateFolder() {
  const std::filesystem::path folder = HomeOfStates() / "mox" / "";
  std::error_code error;
  std::filesystem::create_directories(folder.parent_path().parent_path(), error);
  constexpr mode_t kOwner = S_IRWXU;
  if (!error && ::mkdir(folder.c_str(), kOwner) != 0 && errno != EEXIST) {
    error = {errno, std::generic_category()};
  }
  if (error) throw Error(folder.string() + ": cannot be made: " + error.message());
  struct stat status {};
  if (::stat(folder.c_str(), &status) != 0 || status.st_uid != ::geteuid()) {
    throw Error(folder.string() + ": is the folder of another user");
  }
  return folder;
}

std::unique_ptr<AppProgram> SystemPlatform::StartHidden(std::string_view file, std::string_view parameters) {
  children_->Forget();
  std::vector<std::string> words = SplitCommandLine(parameters);
  words.insert(words.begin(), std::string(WithoutQuotes(file)));
  const std::optional<pid_t> child = HiddenStart().Run(words);
  if (!child) return nullptr;
  return std::make_unique<RunningProgram>(*child, children_);
}

std::string SystemPlatform::ClipboardText() { return clipboard_ ? clipboard_() : std::string(); }

}  // namespace mox
