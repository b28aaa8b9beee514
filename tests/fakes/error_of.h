#pragma once

#include <string>

#include "mox/foundation/error.h"

namespace mox {

/// What the error says that an action raises; empty where it raises none.
template <typename Raised = Error, typename Action>
std::string ErrorOf(const Action& action) {
  try {
    action();
  } catch (const Raised& error) {
    return error.what();
  }
  return {};
}

}  // namespace mox
