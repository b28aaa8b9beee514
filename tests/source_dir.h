#pragma once

#include <string>

namespace mox {

/// The folder of the sources, where the tables of the tests lie. In a source file of its own, so that the
/// compiled tests are the same wherever the checkout stands.
std::string SourceDir();

}  // namespace mox
