#include "paper/png.h"

#include <png.h>

#include <cstring>
#include <new>
#include <string>

#include "mox/foundation/error.h"

namespace mox {
namespace {

[[noreturn]] void RefuseDamaged(png_structp /*png*/, png_const_charp what) {
  throw Error(std::string("the picture cannot be decoded: ") + what);
}

// Of what does not change the pixels.
void Ignore(png_structp /*png*/, png_const_charp /*what*/) {}

void ReadFrom(png_structp png, png_bytep data, std::size_t size) {
  auto& bytes = *static_cast<std::string_view*>(png_get_io_ptr(png));
  if (bytes.size() < size) png_error(png, "it ends early");
  std::memcpy(data, bytes.data(), size);
  bytes.remove_prefix(size);
}

class Decoder {
 public:
  explicit Decoder(std::string_view bytes)
      : bytes_(bytes), png_(png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, RefuseDamaged, Ignore)) {
    if (png_ == nullptr) throw std::bad_alloc();
    info_ = png_create_info_struct(png_);
    png_set_read_fn(png_, &bytes_, ReadFrom);
    // Texts and profiles, which a small file can make as long as it likes.
    png_set_keep_unknown_chunks(png_, PNG_HANDLE_CHUNK_NEVER, nullptr, -1);
  }
  ~Decoder() { png_destroy_read_struct(&png_, &info_, nullptr); }
  Decoder(const Decoder&) = delete;
  Decoder& operator=(const Decoder&) = delete;

  Picture Decode() {
    constexpr unsigned kOpaque = 255;
    png_read_info(png_, info_);
    png_set_expand(png_);
    png_set_strip_16(png_);
    png_set_gray_to_rgb(png_);
    png_set_add_alpha(png_, kOpaque, PNG_FILLER_AFTER);
    const int passes = png_set_interlace_handling(png_);
    png_read_update_info(png_, info_);
    Picture picture{static_cast<int>(png_get_image_width(png_, info_)),
                    static_cast<int>(png_get_image_height(png_, info_)),
                    {}};
    const std::size_t row = png_get_rowbytes(png_, info_);
    if (row != static_cast<std::size_t>(picture.width) * 4)
      png_error(png_, "its pixels are of an unusual kind");
    picture.pixels.resize(row * static_cast<std::size_t>(picture.height));
    for (int pass = 0; pass < passes; ++pass) {
      for (std::size_t at = 0; at < picture.pixels.size(); at += row) {
        png_read_row(png_, &picture.pixels[at], nullptr);
      }
    }
    png_read_end(png_, nullptr);
    return picture;
  }

 private:
  std::string_view bytes_;
  png_structp png_;
  png_infop info_ = nullptr;
};

}  // namespace

Picture DecodePng(std::string_view bytes) { return Decoder(bytes).Decode(); }

}  // namespace mox
