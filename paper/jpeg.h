#pragma once

#include <string_view>

#include "paper/picture.h"

namespace mox {

/// The pixels of a JPEG as they are stored, whatever its orientation. Raises Error for data that are damaged
/// or end before all pixels are there.
Picture DecodeJpeg(std::string_view bytes);

}  // namespace mox
