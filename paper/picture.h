#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/output_file.h"
#include "mox/foundation/picture_header.h"

namespace mox {

inline constexpr OutputKind kPictureOutput = {
    "a picture", [](std::string_view file) {
      return file.starts_with("\xFF\xD8") || file.starts_with("\x89PNG") || file.starts_with("GIF8");
    }};

/// Pixels of red, green, blue and opacity, a byte each, row by row.
struct Picture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;
};

/// Decodes the (first) picture, turned as it is to be seen. Raises Error as ReadPictureHeader, and for pixels
/// that are damaged, end early or are of another size than the header says.
Picture DecodePicture(std::string_view bytes);

/// The picture in at most so many pixels either way, in its proportions; one that is small enough stays.
Picture ResizedTo(const Picture& picture, int most_width, int most_height);
/// The largest part from the middle that has these proportions.
Picture CroppedTo(const Picture& picture, int width, int height);

/// The bytes of a PNG file. Raises Error.
std::string EncodePng(const Picture& picture);
/// The same of a JPEG file, what is transparent on white.
std::string EncodeJpeg(const Picture& picture);

}  // namespace mox
