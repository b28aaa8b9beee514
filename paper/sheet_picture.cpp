#include "paper/sheet_picture.h"

#include <cairo.h>

#include <cmath>

#include "mox/foundation/error.h"

namespace mox {
namespace {

struct Free {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

// Opaque pixels of 24 bits, as the surface has them, as bytes of red, green, blue and opacity.
void TakePixels(cairo_surface_t* surface, Picture& picture) {
  cairo_surface_flush(surface);
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface));
  const unsigned char* const data = cairo_image_surface_get_data(surface);
  std::size_t to = 0;
  for (int y = 0; y < picture.height; ++y) {
    const auto* const row =
        reinterpret_cast<const std::uint32_t*>(data + static_cast<std::size_t>(y) * stride);
    for (int x = 0; x < picture.width; ++x) {
      picture.pixels[to++] = static_cast<std::uint8_t>(row[x] >> 16U);
      picture.pixels[to++] = static_cast<std::uint8_t>(row[x] >> 8U);
      picture.pixels[to++] = static_cast<std::uint8_t>(row[x]);
      picture.pixels[to++] = 0xFF;
    }
  }
}

}  // namespace

Picture DrawSheetPicture(const LaidDocument& document, std::size_t sheet, double pixels_per_unit,
                         TextPainter& painter) {
  Picture picture{static_cast<int>(std::ceil(document.width * pixels_per_unit)),
                  static_cast<int>(std::ceil(document.height * pixels_per_unit)),
                  {}};
  const std::unique_ptr<cairo_surface_t, Free> surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.width, picture.height));
  const std::unique_ptr<cairo_t, Free> cairo(cairo_create(surface.get()));
  cairo_set_source_rgb(cairo.get(), 1, 1, 1);
  cairo_paint(cairo.get());
  cairo_scale(cairo.get(), pixels_per_unit, pixels_per_unit);
  DrawSheet(cairo.get(), document.sheets[sheet], painter);
  if (cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS) {
    throw Error(std::string("the page cannot be drawn: ") +
                cairo_status_to_string(cairo_status(cairo.get())));
  }
  picture.pixels.resize(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height) *
                        4);
  TakePixels(surface.get(), picture);
  return picture;
}

}  // namespace mox
