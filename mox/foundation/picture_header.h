#pragma once

#include <cstdint>
#include <string_view>

namespace mox {

enum class PictureKind : std::uint8_t { kJpeg, kPng, kGif };
/// "JPEG", "PNG", "GIF".
std::string_view PictureKindName(PictureKind kind);

/// How stored rows and columns become what is to be seen, as cameras note it (Exif, tag 0x0112): 1 as they
/// stand, 2 mirrored, 3 turned by half, 4 mirrored upside down, 5 to 8 rows for columns: 6 is turned to the
/// right, 8 to the left, 5 and 7 are mirrored too.
inline constexpr int kAsStored = 1;

/// What the header of a picture says of it. Its size is that which is to be seen.
struct PictureHeader {
  PictureKind kind = PictureKind::kJpeg;
  int width = 0;
  int height = 0;
  int orientation = kAsStored;
};

/// A picture of more pixels is refused before any memory is taken for it.
inline constexpr std::int64_t kMostPixels = 40'000'000;

/// Reads the header alone; nothing is decoded. Raises Error for what is no JPEG, PNG or GIF, for a header
/// that is cut short or damaged, for a size of 0 or beyond kMostPixels, and for more than 32 MB.
PictureHeader ReadPictureHeader(std::string_view bytes);

}  // namespace mox
