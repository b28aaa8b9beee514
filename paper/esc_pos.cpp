#include "paper/esc_pos.h"

#include <algorithm>

#include "paper/sheet_picture.h"

namespace mox {
namespace {

constexpr std::string_view kBegin = "\x1B@";
constexpr char kDrawer[] = {'\x1B', 'p', 0, 25, '\xFA'};
constexpr char kFeedAndCut[] = {'\x1D', 'V', 66, 0};
constexpr char kFeed[] = {'\x1B', 'd', 4};
// As many rows at a time as the memory of small printers holds.
constexpr int kBand = 128;

// Black dots are ones, the leftmost the highest bit of its byte.
void AppendBand(const Picture& band, std::string& out) {
  const int bytes = (band.width + 7) / 8;
  for (const int number :
       {0x1D, int{'v'}, int{'0'}, 0, bytes & 255, bytes >> 8, band.height & 255, band.height >> 8}) {
    out += static_cast<char>(number);
  }
  std::size_t at = 0;  // of the dot's red, as all its shades are gray
  for (int y = 0; y < band.height; ++y) {
    for (int x = 0; x < band.width; x += 8) {
      unsigned byte = 0;
      for (int bit = 0; bit < 8; ++bit) {
        const bool is_dot = x + bit < band.width;
        byte = byte << 1U | (is_dot && band.pixels[at] < 128U ? 1U : 0U);
        at += is_dot ? 4U : 0U;
      }
      out += static_cast<char>(byte);
    }
  }
}

}  // namespace

std::string EscPos(const LaidDocument& slip, TextPainter& painter, const SlipSettings& settings) {
  std::string out(kBegin);
  if (settings.open_drawer) out.append(kDrawer, sizeof kDrawer);
  const int height = static_cast<int>(slip.height);
  const SheetParts parts(slip.sheets.front(), painter);
  for (int top = 0; top < height; top += kBand) {
    AppendBand(DrawRows(parts, slip.width, 1, top, std::min(kBand, height - top), painter), out);
  }
  out.append(kFeed, sizeof kFeed);
  if (settings.cut) out.append(kFeedAndCut, sizeof kFeedAndCut);
  return out;
}

}  // namespace mox
