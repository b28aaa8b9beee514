#pragma once

#include <string>
#include <string_view>

namespace mox {

/// All bytes of a file. Raises Error naming the path when it cannot be read.
std::string ReadWholeFile(const std::string& path);

/// Writes the bytes under a temporary name in the same folder and renames that, so that nobody sees half a
/// file and a failure leaves the old one whole. Raises Error naming the path.
void ReplaceFile(const std::string& path, std::string_view bytes);

}  // namespace mox
