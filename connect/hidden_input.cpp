#include "connect/hidden_input.h"

#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <iterator>

namespace mox {
namespace {

constexpr int kEndings[] = {SIGINT, SIGQUIT, SIGTERM, SIGHUP};
using SignalAction = struct sigaction;

// What a signal's handler needs.
termios before{};
SignalAction actions_before[std::size(kEndings)] = {};
bool is_hidden = false;

// Calls only what a handler may call. The signal does what it usually does as soon as the handler has ended.
void ShowAgain(int signal) {
  ::tcsetattr(STDIN_FILENO, TCSANOW, &before);
  SignalAction usual{};
  usual.sa_handler = SIG_DFL;
  ::sigaction(signal, &usual, nullptr);
  ::raise(signal);
}

}  // namespace

HiddenInput::HiddenInput() {
  if (is_hidden || ::tcgetattr(STDIN_FILENO, &before) != 0) return;
  is_hidden = true;
  SignalAction show{};
  show.sa_handler = ShowAgain;
  for (std::size_t i = 0; i < std::size(kEndings); ++i) {
    ::sigaction(kEndings[i], nullptr, &actions_before[i]);
    if (actions_before[i].sa_handler == SIG_DFL) ::sigaction(kEndings[i], &show, nullptr);
  }
  termios hidden = before;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden);
}

HiddenInput::~HiddenInput() {
  if (!is_hidden) return;
  ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before);
  for (std::size_t i = 0; i < std::size(kEndings); ++i) {
    ::sigaction(kEndings[i], &actions_before[i], nullptr);
  }
  is_hidden = false;
}

std::string FirstLine(std::string_view text) {
  std::string line(text.substr(0, text.find('\n')));
  if (line.ends_with('\r')) line.pop_back();
  return line;
}

}  // namespace mox
