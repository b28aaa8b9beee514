#pragma once

#include <string>
#include <string_view>

namespace mox {

/// SHA-256 (FIPS 180-4) of the bytes, in 64 hexadecimal digits, as the tool sha256sum prints it.
std::string Sha256(std::string_view bytes);

}  // namespace mox
