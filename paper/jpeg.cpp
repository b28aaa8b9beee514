#include "paper/jpeg.h"

// What jpeglib.h needs before it.
#include <cstdio>
//
#include <jpeglib.h>

#include <array>

#include "mox/foundation/error.h"

namespace mox {
namespace {

// The library says what is damaged as a warning and goes on with gray pixels.
[[noreturn]] void RefuseDamaged(j_common_ptr jpeg) {
  std::array<char, JMSG_LENGTH_MAX> message{};
  jpeg->err->format_message(jpeg, message.data());
  throw Error(std::string("the picture cannot be decoded: ") + message.data());
}

void Tell(j_common_ptr jpeg, int level) {
  constexpr int kWarning = -1;
  if (level == kWarning) RefuseDamaged(jpeg);
}

class Decoder {
 public:
  Decoder() {
    constexpr long kMostMemory = 700'000'000;  // of a picture of kMostPixels that comes in passes
    jpeg_.err = jpeg_std_error(&errors_);
    errors_.error_exit = RefuseDamaged;
    errors_.emit_message = Tell;
    jpeg_create_decompress(&jpeg_);
    jpeg_.mem->max_memory_to_use = kMostMemory;
  }
  ~Decoder() { jpeg_destroy_decompress(&jpeg_); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  Picture Decode(std::string_view bytes) {
    jpeg_mem_src(&jpeg_, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&jpeg_, TRUE);
    const bool is_of_inks = jpeg_.num_components == 4;
    jpeg_.out_color_space = is_of_inks ? JCS_CMYK : JCS_EXT_RGBA;
    jpeg_start_decompress(&jpeg_);
    Picture picture{static_cast<int>(jpeg_.output_width), static_cast<int>(jpeg_.output_height), {}};
    const std::size_t row = std::size_t{jpeg_.output_width} * 4;
    picture.pixels.resize(row * jpeg_.output_height);
    while (jpeg_.output_scanline < jpeg_.output_height) {
      JSAMPROW at = &picture.pixels[row * jpeg_.output_scanline];
      jpeg_read_scanlines(&jpeg_, &at, 1);
    }
    jpeg_finish_decompress(&jpeg_);
    if (is_of_inks) MixInks(picture);
    return picture;
  }

 private:
  // Cyan, magenta, yellow and black; programs that note themselves store what is left of white.
  void MixInks(Picture& picture) const {
    const bool is_inverted = jpeg_.saw_Adobe_marker != 0;
    const auto light = [&](std::uint8_t ink) { return is_inverted ? ink : 255U - ink; };
    for (std::size_t at = 0; at < picture.pixels.size(); at += 4) {
      const unsigned black = light(picture.pixels[at + 3]);
      for (std::size_t i = at; i < at + 3; ++i) {
        picture.pixels[i] = static_cast<std::uint8_t>(light(picture.pixels[i]) * black / 255U);
      }
      picture.pixels[at + 3] = 255;
    }
  }

  jpeg_error_mgr errors_{};
  jpeg_decompress_struct jpeg_{};
};

}  // namespace

Picture DecodeJpeg(std::string_view bytes) { return Decoder().Decode(bytes); }

}  // namespace mox
