#include "sender/qr_picture.h"

#include <stb_image_write.h>

#include "mox/foundation/error.h"
#include "symbols/code_picture.h"

namespace mox {
namespace {

// A module is then one block of a JPEG, so that its edges stay sharp.
constexpr int kPixelsPerModule = 8;
constexpr int kJpegQuality = 95;

void Append(void* bytes, void* data, int size) {
  static_cast<std::string*>(bytes)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

}  // namespace

std::string QrPicture(const std::string& text, PictureFormat format) {
  const DotPicture picture = DrawCode(CodeKind::kQr, MakeCode(CodeKind::kQr, text), kPixelsPerModule);
  std::string bytes;
  const int written =
      format == PictureFormat::kBmp
          ? stbi_write_bmp_to_func(Append, &bytes, picture.width, picture.height, 1, picture.dots.data())
          : stbi_write_jpg_to_func(Append, &bytes, picture.width, picture.height, 1, picture.dots.data(),
                                   kJpegQuality);
  if (written == 0) throw Error("the picture cannot be encoded");
  return bytes;
}

}  // namespace mox
