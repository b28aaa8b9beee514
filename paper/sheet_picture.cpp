#include "paper/sheet_picture.h"

#include <cairo.h>

#include <cmath>

#include "mox/foundation/error.h"
#include "paper/text_painter.h"

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

SheetParts::SheetParts(const LaidSheet& sheet, TextPainter& painter) : sheet_(sheet) {
  heights_.reserve(sheet.texts.size());
  for (const LaidText& text : sheet.texts) {
    heights_.push_back(painter.Measure(text.text, text.style, text.wraps ? text.width : 0).height);
  }
}

LaidSheet SheetParts::Between(double top, double bottom) const {
  constexpr double kBesideLine = 4;  // accents and descenders that leave their line
  const auto reaches = [&](double y, double height) {
    return y - kBesideLine < bottom && y + height + kBesideLine > top;
  };
  LaidSheet part;
  for (const LaidRule& rule : sheet_.rules) {
    if (reaches(rule.y, rule.height)) part.rules.push_back(rule);
  }
  for (std::size_t i = 0; i < sheet_.texts.size(); ++i) {
    if (reaches(sheet_.texts[i].y, heights_[i])) part.texts.push_back(sheet_.texts[i]);
  }
  for (const LaidCode& code : sheet_.codes) {
    if (reaches(code.y, code.code->height * code.module)) part.codes.push_back(code);
  }
  for (const LaidPicture& picture : sheet_.pictures) {
    if (reaches(picture.y, picture.height)) part.pictures.push_back(picture);
  }
  return part;
}

Picture DrawRows(const SheetParts& parts, double width, double pixels_per_unit, int top, int rows,
                 TextPainter& painter) {
  Picture picture{static_cast<int>(std::ceil(width * pixels_per_unit)), rows, {}};
  const std::unique_ptr<cairo_surface_t, Free> surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, picture.width, picture.height));
  const std::unique_ptr<cairo_t, Free> cairo(cairo_create(surface.get()));
  cairo_set_source_rgb(cairo.get(), 1, 1, 1);
  cairo_paint(cairo.get());
  cairo_translate(cairo.get(), 0, -top);
  cairo_scale(cairo.get(), pixels_per_unit, pixels_per_unit);
  DrawSheet(cairo.get(), parts.Between(top / pixels_per_unit, (top + rows) / pixels_per_unit), painter);
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
