#pragma once

#include <string>
#include <string_view>

namespace mox {

/// What is typed on the terminal of standard input is not shown as long as this lives. Whoever ends the
/// program meanwhile by a signal finds the terminal as it was before. One lives at a time.
class HiddenInput {
 public:
  HiddenInput();
  ~HiddenInput();
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;
};

/// The first line of a text that holds a password, without its end.
std::string FirstLine(std::string_view text);

}  // namespace mox
