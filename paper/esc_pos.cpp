#include "paper/esc_pos.h"

#include <cairo.h>

#include <algorithm>
#include <memory>

#include "mox/foundation/error.h"
#include "paper/text_painter.h"

namespace mox {
namespace {

constexpr std::string_view kBegin = "\x1B@";
constexpr char kDrawer[] = {'\x1B', 'p', 0, 25, '\xFA'};
constexpr char kFeedAndCut[] = {'\x1D', 'V', 66, 0};
constexpr char kFeed[] = {'\x1B', 'd', 4};
// As many rows at a time as the memory of small printers holds.
constexpr int kBand = 128;

struct Free {
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* cairo) const { cairo_destroy(cairo); }
};

// What of the slip reaches into a band, so that a long one is not drawn as often as it has bands. `heights`
// are those of its texts.
LaidSheet InBand(const LaidSheet& sheet, double top, double bottom, const std::vector<double>& heights) {
  LaidSheet part;
  constexpr double kBesideLine = 4;  // accents and descenders that leave their line
  const auto reaches = [&](double y, double height) {
    return y - kBesideLine < bottom && y + height + kBesideLine > top;
  };
  for (const LaidRule& rule : sheet.rules) {
    if (reaches(rule.y, 0)) part.rules.push_back(rule);
  }
  for (std::size_t i = 0; i < sheet.texts.size(); ++i) {
    if (reaches(sheet.texts[i].y, heights[i])) part.texts.push_back(sheet.texts[i]);
  }
  for (const LaidCode& code : sheet.codes) {
    if (code.y < bottom && code.y + code.code->height * code.module > top) part.codes.push_back(code);
  }
  return part;
}

// Black dots are ones, the leftmost the highest bit of its byte.
void AppendRows(cairo_surface_t* surface, int rows, std::string& out) {
  const int width = cairo_image_surface_get_width(surface);
  const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(surface));
  const unsigned char* const data = cairo_image_surface_get_data(surface);
  for (int y = 0; y < rows; ++y) {
    const auto* const row =
        reinterpret_cast<const std::uint32_t*>(data + static_cast<std::size_t>(y) * stride);
    for (int x = 0; x < width; x += 8) {
      unsigned byte = 0;
      for (int bit = 0; bit < 8; ++bit) {
        const bool black = x + bit < width && (row[x + bit] & 255U) < 128U;
        byte = byte << 1U | (black ? 1U : 0U);
      }
      out += static_cast<char>(byte);
    }
  }
}

void AppendBand(const LaidDocument& slip, const std::vector<double>& heights, int top, int rows,
                TextPainter& painter, std::string& out) {
  const int width = static_cast<int>(slip.width);
  const std::unique_ptr<cairo_surface_t, Free> surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, rows));
  const std::unique_ptr<cairo_t, Free> cairo(cairo_create(surface.get()));
  cairo_set_source_rgb(cairo.get(), 1, 1, 1);
  cairo_paint(cairo.get());
  cairo_translate(cairo.get(), 0, -top);
  DrawSheet(cairo.get(), InBand(slip.sheets.front(), top, top + rows, heights), painter);
  if (cairo_status(cairo.get()) != CAIRO_STATUS_SUCCESS) throw Error("the slip cannot be drawn");
  cairo_surface_flush(surface.get());
  const int bytes = (width + 7) / 8;
  for (const int number : {0x1D, int{'v'}, int{'0'}, 0, bytes & 255, bytes >> 8, rows & 255, rows >> 8}) {
    out += static_cast<char>(number);
  }
  AppendRows(surface.get(), rows, out);
}

}  // namespace

std::string EscPos(const LaidDocument& slip, TextPainter& painter, const SlipSettings& settings) {
  std::string out(kBegin);
  if (settings.open_drawer) out.append(kDrawer, sizeof kDrawer);
  const int height = static_cast<int>(slip.height);
  std::vector<double> heights;
  for (const LaidText& text : slip.sheets.front().texts) {
    heights.push_back(painter.Measure(text.text, text.style, text.wraps ? text.width : 0).height);
  }
  for (int top = 0; top < height; top += kBand) {
    AppendBand(slip, heights, top, std::min(kBand, height - top), painter, out);
  }
  out.append(kFeed, sizeof kFeed);
  if (settings.cut) out.append(kFeedAndCut, sizeof kFeedAndCut);
  return out;
}

}  // namespace mox
