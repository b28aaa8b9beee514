#pragma once

#include <string>

#include "cli/command.h"

namespace mox {

/// A secret: the first line of a file, or of standard input ("-"), which no message shows from now on. It may
/// be empty.
std::string ReadSecret(const std::string& path, Session& session);

}  // namespace mox
