#pragma once

#include <string>
#include <string_view>

namespace mox {

/// With "--other-window COMPANY COUNT" the test program is another window on a company, which stores so many
/// documents and ends.
inline constexpr std::string_view kOtherWindow = "--other-window";

/// Whether all of them were stored.
bool StoreInAWindow(const std::string& company, int count);

}  // namespace mox
