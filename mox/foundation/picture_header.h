#pragma once

#include <cstdint>
#include <string_view>

namespace mox {

enum class PictureKind : std::uint8_t { kJpeg, kPng, kGif };
/// "JPEG", "PNG", "GIF".
std::string_view PictureKindName(PictureKind kind);

/// What the header of a picture says of it.
struct PictureHeader {
  PictureKind kind = PictureKind::kJpeg;
  int width = 0;
  int height = 0;
};

/// A picture of more pixels is refused before any memory is taken for it.
inline constexpr std::int64_t kMostPixels = 40'000'000;

/// Reads the header alone; nothing is decoded. Raises Error for what is no JPEG, PNG or GIF, for a header
/// that is cut short or damaged, for a size of 0 or beyond kMostPixels, and for more than 32 MB.
PictureHeader ReadPictureHeader(std::string_view bytes);

}  // namespace mox
