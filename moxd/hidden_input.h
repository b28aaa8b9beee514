#pragma once

#include <memory>

namespace mox {

/// What is typed on the terminal of standard input is not shown as long as this lives.
class HiddenInput {
 public:
  HiddenInput();
  ~HiddenInput();
  HiddenInput(const HiddenInput&) = delete;
  HiddenInput& operator=(const HiddenInput&) = delete;

 private:
  struct Before;
  std::unique_ptr<Before> before_;  // null where it is no terminal
};

}  // namespace mox
