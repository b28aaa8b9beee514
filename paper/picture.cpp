#include "paper/picture.h"

#include <stb_image.h>
#include <stb_image_resize.h>
#include <stb_image_write.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "mox/foundation/error.h"
#include "paper/gif_data.h"
#include "paper/jpeg.h"
#include "paper/png.h"

namespace mox {
namespace {

// Each pass of a JPEG goes over all of the picture, however little it says.
constexpr std::size_t kMostPasses = 64;

[[noreturn]] void Refuse(const std::string& reason) { throw Error("the picture " + reason); }

std::size_t PassesOf(std::string_view jpeg) {
  std::size_t passes = 0;
  for (std::size_t at = 0; (at = jpeg.find("\xFF\xDA", at)) != std::string_view::npos; at += 2) ++passes;
  return passes;
}

// --- pixels ---

struct FreePixels {
  void operator()(stbi_uc* pixels) const { stbi_image_free(pixels); }
};

std::size_t SizeOf(int width, int height) {
  return static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4;
}

Picture DecodeGif(std::string_view bytes) {
  RequireWholeGif(bytes);
  constexpr int kChannels = 4;
  Picture picture;
  int channels = 0;
  const std::unique_ptr<stbi_uc, FreePixels> pixels(
      stbi_load_from_memory(reinterpret_cast<const stbi_uc*>(bytes.data()), static_cast<int>(bytes.size()),
                            &picture.width, &picture.height, &channels, kChannels));
  if (pixels == nullptr) Refuse(std::string("cannot be decoded: ") + stbi_failure_reason());
  picture.pixels.assign(pixels.get(), pixels.get() + SizeOf(picture.width, picture.height));
  return picture;
}

Picture DecodeStored(PictureKind kind, std::string_view bytes) {
  switch (kind) {
    case PictureKind::kPng:
      return DecodePng(bytes);
    case PictureKind::kGif:
      return DecodeGif(bytes);
    default:
      return DecodeJpeg(bytes);
  }
}

// From how it is stored to how it is to be seen.
Picture Turned(const Picture& stored, int orientation) {
  struct Way {
    bool swaps;
    bool flips_x;
    bool flips_y;
  };
  constexpr Way kWays[] = {{false, false, false}, {false, true, false}, {false, true, true},
                           {false, false, true},  {true, false, false}, {true, false, true},
                           {true, true, true},    {true, true, false}};
  const auto [swaps, flips_x, flips_y] = kWays[orientation - kAsStored];
  Picture seen{swaps ? stored.height : stored.width, swaps ? stored.width : stored.height, {}};
  seen.pixels.reserve(stored.pixels.size());
  for (int y = 0; y < seen.height; ++y) {
    for (int x = 0; x < seen.width; ++x) {
      const int column = swaps ? y : x;
      const int row = swaps ? x : y;
      const auto from =
          stored.pixels.begin() +
          static_cast<std::ptrdiff_t>(SizeOf(stored.width, flips_y ? stored.height - 1 - row : row) +
                                      SizeOf(flips_x ? stored.width - 1 - column : column, 1));
      seen.pixels.insert(seen.pixels.end(), from, from + 4);
    }
  }
  return seen;
}

void Append(void* bytes, void* data, int size) {
  static_cast<std::string*>(bytes)->append(static_cast<const char*>(data), static_cast<std::size_t>(size));
}

}  // namespace

Picture DecodePicture(std::string_view bytes) {
  const PictureHeader header = ReadPictureHeader(bytes);
  if (header.kind == PictureKind::kJpeg && PassesOf(bytes) > kMostPasses) Refuse("has too many passes");
  Picture picture = DecodeStored(header.kind, bytes);
  if (header.orientation != kAsStored) picture = Turned(picture, header.orientation);
  if (picture.width != header.width || picture.height != header.height) {
    Refuse("has another size than its header says");
  }
  return picture;
}

Picture ResizedTo(const Picture& picture, int most_width, int most_height) {
  if (picture.width <= most_width && picture.height <= most_height) return picture;
  const double scale = std::min(static_cast<double>(most_width) / picture.width,
                                static_cast<double>(most_height) / picture.height);
  const auto scaled = [scale](int size) { return std::max(1, static_cast<int>(std::lround(size * scale))); };
  Picture smaller{scaled(picture.width), scaled(picture.height), {}};
  smaller.pixels.resize(SizeOf(smaller.width, smaller.height));
  constexpr int kChannels = 4;
  constexpr int kOpacity = 3;
  constexpr int kNoStride = 0;
  const int done = stbir_resize_uint8_generic(picture.pixels.data(), picture.width, picture.height, kNoStride,
                                              smaller.pixels.data(), smaller.width, smaller.height, kNoStride,
                                              kChannels, kOpacity, 0, STBIR_EDGE_CLAMP, STBIR_FILTER_DEFAULT,
                                              STBIR_COLORSPACE_SRGB, nullptr);
  if (done == 0) throw Error("not enough memory for a picture");
  return smaller;
}

Picture CroppedTo(const Picture& picture, int width, int height) {
  const std::int64_t by_width = std::int64_t{picture.width} * height;
  const std::int64_t by_height = std::int64_t{picture.height} * width;
  Picture part{picture.width, picture.height, {}};
  if (by_width > by_height) part.width = static_cast<int>(std::max<std::int64_t>(1, by_height / height));
  if (by_width < by_height) part.height = static_cast<int>(std::max<std::int64_t>(1, by_width / width));
  const int left = (picture.width - part.width) / 2;
  const int top = (picture.height - part.height) / 2;
  part.pixels.reserve(SizeOf(part.width, part.height));
  for (int y = 0; y < part.height; ++y) {
    const auto from = picture.pixels.begin() +
                      static_cast<std::ptrdiff_t>(SizeOf(picture.width, top + y) + SizeOf(left, 1));
    part.pixels.insert(part.pixels.end(), from, from + static_cast<std::ptrdiff_t>(SizeOf(part.width, 1)));
  }
  return part;
}

std::string EncodePng(const Picture& picture) {
  std::string bytes;
  const int done =
      stbi_write_png_to_func(Append, &bytes, picture.width, picture.height, 4, picture.pixels.data(), 0);
  if (done == 0) throw Error("the picture cannot be encoded");
  return bytes;
}

std::string EncodeJpeg(const Picture& picture) {
  constexpr int kQuality = 88;
  std::vector<std::uint8_t> opaque;
  opaque.reserve(picture.pixels.size() / 4 * 3);
  for (std::size_t at = 0; at < picture.pixels.size(); at += 4) {
    const unsigned opacity = picture.pixels[at + 3];
    for (std::size_t channel = 0; channel < 3; ++channel) {
      opaque.push_back(static_cast<std::uint8_t>(
          (picture.pixels[at + channel] * opacity + 255U * (255U - opacity)) / 255U));
    }
  }
  std::string bytes;
  if (stbi_write_jpg_to_func(Append, &bytes, picture.width, picture.height, 3, opaque.data(), kQuality) ==
      0) {
    throw Error("the picture cannot be encoded");
  }
  return bytes;
}

}  // namespace mox
