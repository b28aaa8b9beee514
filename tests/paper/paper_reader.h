#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace mox {

/// A picture of shades of gray, 0 black.
struct GrayPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> pixels;
};

/// How often a part stands in a text.
std::size_t CountOf(const std::string& text, const std::string& part);
/// What a program prints; it is to end with 0.
std::string OutputOf(const std::string& command);
/// A file of the form P5, as pdftoppm writes it.
GrayPicture ReadPgm(const std::string& path);
/// The texts of all codes in a picture, as zxing reads them, in any order.
std::vector<std::string> ReadCodes(const GrayPicture& picture);

/// What a printer of slips does with what it is sent.
struct PrintedSlip {
  GrayPicture picture;
  int cuts = 0;
  int pulses = 0;
};
/// Raises std::runtime_error for anything that it does not know.
PrintedSlip PrintOf(const std::string& bytes);

}  // namespace mox
