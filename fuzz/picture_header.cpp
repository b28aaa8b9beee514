// What a header says of a picture is within bounds, and no data behind it change it.

#include "mox/foundation/picture_header.h"

#include <string>

#include "fuzz/fuzz_target.h"
#include "mox/foundation/error.h"
#include "paper/gif_data.h"

namespace mox {
namespace {

void CheckHeader(const std::string& bytes) {
  PictureHeader header;
  try {
    header = ReadPictureHeader(bytes);
  } catch (const Error&) {
    return;
  }
  Require(header.width > 0 && header.height > 0, "a picture has pixels");
  Require(std::int64_t{header.width} * header.height <= kMostPixels, "a picture has no more than the most");
  Require(header.orientation >= 1 && header.orientation <= 8, "there are eight ways to hold a camera");
  if (header.kind == PictureKind::kGif) {
    try {
      RequireWholeGif(bytes);
    } catch (const Error&) {
      // It is told, and took no memory.
    }
  }
  const PictureHeader longer = ReadPictureHeader(bytes + "more");
  Require(longer.width == header.width && longer.height == header.height &&
              longer.orientation == header.orientation,
          "what comes behind the header is not of it");
}

}  // namespace
}  // namespace mox

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mox::CheckHeader(std::string(mox::TextOf(data, size)));
  return 0;
}
