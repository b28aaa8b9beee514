#pragma once

#include <string>
#include <string_view>

namespace mox {

/// Sixteen hexadecimal digits that tell texts apart (FNV-1a of 64 bits). Good against mistakes, not against
/// somebody who looks for two texts with the same digest.
std::string DigestText(std::string_view text);

}  // namespace mox
