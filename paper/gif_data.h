#pragma once

#include <string_view>

namespace mox {

/// Makes sure that the first picture of a GIF is as large as its header says and has all of its pixels,
/// without taking memory for them. Raises Error.
void RequireWholeGif(std::string_view bytes);

}  // namespace mox
