#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace mox {

enum class PictureFormat : std::uint8_t { kBmp, kJpeg };

/// The bytes of a picture with the QR code of a text: black on white, with the quiet zone that readers need.
/// Raises Error when the text is empty or too long for a code.
std::string QrPicture(const std::string& text, PictureFormat format);

}  // namespace mox
