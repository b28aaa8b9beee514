#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

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

}  // namespace mox
