#include "tests/paper/paper_reader.h"

#define ZX_USE_UTF8 1  // texts of codes as they are
#include <ZXing/ReadBarcode.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <sstream>
#include <stdexcept>

#include "mox/foundation/files.h"

namespace mox {

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = 0; (at = text.find(part, at)) != std::string::npos; at += part.size()) ++count;
  return count;
}

std::string OutputOf(const std::string& command) {
  std::FILE* const pipe = ::popen(command.c_str(), "r");  // NOLINT(cert-env33-c): a test's own command
  std::string out;
  char buffer[4096];
  for (std::size_t size = 0; (size = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
    out.append(buffer, size);
  EXPECT_EQ(::pclose(pipe), 0) << command;
  return out;
}

GrayPicture ReadPgm(const std::string& path) {
  const std::string bytes = ReadWholeFile(path);
  std::istringstream head(bytes);
  std::string form;
  int most = 0;
  GrayPicture picture;
  head >> form >> picture.width >> picture.height >> most;
  if (form != "P5" || most != 255) throw std::runtime_error(path + " is no picture of shades");
  const std::size_t size = static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height);
  picture.pixels.assign(bytes.end() - static_cast<std::ptrdiff_t>(size), bytes.end());
  return picture;
}

std::vector<std::string> ReadCodes(const GrayPicture& picture) {
  const ZXing::ImageView view(picture.pixels.data(), picture.width, picture.height, ZXing::ImageFormat::Lum);
  ZXing::DecodeHints hints;
  hints.setFormats(ZXing::BarcodeFormat::QRCode | ZXing::BarcodeFormat::PDF417);
  std::vector<std::string> texts;
  for (const ZXing::Result& result : ZXing::ReadBarcodes(view, hints)) {
    texts.push_back(result.text());
  }
  return texts;
}

PrintedSlip PrintOf(const std::string& bytes) {
  PrintedSlip slip;
  const auto number = [&](std::size_t at) {
    return static_cast<unsigned char>(bytes.at(at)) + 256 * static_cast<unsigned char>(bytes.at(at + 1));
  };
  for (std::size_t at = 0; at < bytes.size();) {
    const std::string command = bytes.substr(at, 2);
    if (command == "\x1B@") {
      at += 2;
    } else if (command == "\x1Bp") {
      ++slip.pulses;
      at += 5;
    } else if (command ==
               "\x1B"
               "d") {
      at += 3;
    } else if (command == "\x1DV") {
      ++slip.cuts;
      at += 4;
    } else if (command == "\x1Dv") {
      const int row_bytes = number(at + 4);
      const int rows = number(at + 6);
      at += 8;
      slip.picture.width = row_bytes * 8;
      slip.picture.height += rows;
      for (int i = 0; i < row_bytes * rows; ++i, ++at) {
        const auto dots = static_cast<unsigned char>(bytes.at(at));
        for (unsigned bit = 8; bit-- > 0;) slip.picture.pixels.push_back((dots >> bit & 1U) != 0 ? 0 : 255);
      }
    } else {
      throw std::runtime_error("the printer does not know byte " + std::to_string(at));
    }
  }
  return slip;
}

}  // namespace mox
