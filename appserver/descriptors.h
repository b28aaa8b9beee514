#pragma once

namespace mox {

/// Whether this process cannot open a few files more, since it or the system has as many open as may be.
bool LacksDescriptors();

}  // namespace mox
