#include "moxd/hidden_input.h"

#include <termios.h>
#include <unistd.h>

namespace mox {

struct HiddenInput::Before {
  termios settings{};
};

HiddenInput::HiddenInput() {
  auto before = std::make_unique<Before>();
  if (::tcgetattr(STDIN_FILENO, &before->settings) != 0) return;
  termios hidden = before->settings;
  hidden.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  if (::tcsetattr(STDIN_FILENO, TCSAFLUSH, &hidden) == 0) before_ = std::move(before);
}

HiddenInput::~HiddenInput() {
  if (before_) ::tcsetattr(STDIN_FILENO, TCSAFLUSH, &before_->settings);
}

}  // namespace mox
