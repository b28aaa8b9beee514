#pragma once

#include <string_view>

#include "paper/picture.h"

namespace mox {

/// The pixels of a PNG file whose header is one that ReadPictureHeader takes, so that they are the most
/// memory that it needs; what else such a file holds is passed over. Raises Error that says what is damaged.
Picture DecodePng(std::string_view bytes);

}  // namespace mox
