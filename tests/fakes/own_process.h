#pragma once

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <stdexcept>

namespace mox {

/// A process of its own that runs the action; its exit status is 1 when the action raises.
template <typename Action>
pid_t Fork(const Action& action) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  try {
    action();
  } catch (const std::exception& error) {
    std::fputs(error.what(), stderr);
    std::_Exit(1);
  }
  std::_Exit(0);
}

/// What waiting for the process told, as waitpid does.
inline int StatusOf(pid_t child) {
  int status = 0;
  ::waitpid(child, &status, 0);
  return status;
}

/// A process of its own that works without end, telling how far it is, until it is killed.
template <typename News>
class KilledProgram {
 public:
  /// `work` is given what tells: tell(news).
  template <typename Work>
  explicit KilledProgram(const Work& work) {
    if (::pipe(ends_) != 0) throw std::runtime_error("no pipe");
    child_ = Fork([&] {
      work([this](const News& news) {
        if (::write(ends_[1], &news, sizeof news) != sizeof news) std::_Exit(1);
      });
    });
    ::close(ends_[1]);
  }
  ~KilledProgram() { ::close(ends_[0]); }
  KilledProgram(const KilledProgram&) = delete;
  KilledProgram& operator=(const KilledProgram&) = delete;

  /// What it tells next; none where it has ended.
  std::optional<News> Next() {
    News news{};
    if (::read(ends_[0], &news, sizeof news) != sizeof news) return std::nullopt;
    return news;
  }
  void KillAfter(unsigned long microseconds) {
    ::usleep(static_cast<useconds_t>(microseconds));
    ::kill(child_, SIGKILL);
    if (!WIFSIGNALED(StatusOf(child_))) throw std::runtime_error("the program ended by itself");
  }

 private:
  int ends_[2] = {};
  pid_t child_ = 0;
};

/// While it lives no file that this process writes grows beyond so many bytes, as on a full disk.
class FullDisk {
 public:
  explicit FullDisk(rlim_t bytes) {
    std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &before_);
    const rlimit small{bytes, before_.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);
  }
  ~FullDisk() { ::setrlimit(RLIMIT_FSIZE, &before_); }
  FullDisk(const FullDisk&) = delete;
  FullDisk& operator=(const FullDisk&) = delete;

 private:
  rlimit before_{};
};

}  // namespace mox
