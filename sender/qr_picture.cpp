#include "sender/qr_picture.h"

#include <qrencode.h>
#include <stb_image_write.h>

#include <cerrno>
#include <memory>
#include <vector>

#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr int kQuietModules = 4;  // on each side, as the standard of the codes asks for
// A module is then one block of a JPEG, so that its edges stay sharp.
constexpr int kPixelsPerModule = 8;
constexpr int kJpegQuality = 95;

struct FreeCode {
  void operator()(QRcode* code) const { QRcode_free(code); }
};

struct Picture {
  int size = 0;  // width and height
  std::vector<std::uint8_t> pixels;
};

Picture Drawn(const QRcode& code) {
  Picture picture{(code.width + 2 * kQuietModules) * kPixelsPerModule, {}};
  const auto size = static_cast<std::size_t>(picture.size);
  picture.pixels.assign(size * size, 0xFF);
  for (std::size_t y = 0; y < size; ++y) {
    for (std::size_t x = 0; x < size; ++x) {
      const int row = static_cast<int>(y) / kPixelsPerModule - kQuietModules;
      const int column = static_cast<int>(x) / kPixelsPerModule - kQuietModules;
      if (row < 0 || column < 0 || row >= code.width || column >= code.width) continue;
      const bool dark = (code.data[row * code.width + column] & 1) != 0;
      if (dark) picture.pixels[y * size + x] = 0;
    }
  }
  return picture;
}

void Append(void* bytes, void* data, int size) {
  static_cast<std::string*>(bytes)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

}  // namespace

std::string QrPicture(const std::string& text, PictureFormat format) {
  constexpr int kSmallestVersion = 0;
  const std::unique_ptr<QRcode, FreeCode> code(
      QRcode_encodeString8bit(text.c_str(), kSmallestVersion, QR_ECLEVEL_M));
  if (code == nullptr) {
    throw Error(errno == ERANGE ? "the text is too long for a QR code"
                                : "a QR code cannot be made of the text");
  }
  const Picture picture = Drawn(*code);
  std::string bytes;
  const int written =
      format == PictureFormat::kBmp
          ? stbi_write_bmp_to_func(Append, &bytes, picture.size, picture.size, 1, picture.pixels.data())
          : stbi_write_jpg_to_func(Append, &bytes, picture.size, picture.size, 1, picture.pixels.data(),
                                   kJpegQuality);
  if (written == 0) throw Error("the picture cannot be encoded");
  return bytes;
}

}  // namespace mox
