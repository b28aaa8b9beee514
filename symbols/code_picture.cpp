#include "symbols/code_picture.h"

#include <zint.h>

#include <algorithm>
#include <cmath>
#include <memory>

#include "mox/foundation/error.h"

namespace mox {
namespace {

struct FreeSymbol {
  void operator()(zint_symbol* symbol) const { ZBarcode_Delete(symbol); }
};

struct KindRule {
  int symbology;
  int error_correction;
  int columns;
  int quiet_modules;
};

constexpr KindRule RuleOf(CodeKind kind) {
  constexpr int kMediumCorrection = 2;
  return kind == CodeKind::kQr ? KindRule{BARCODE_QRCODE, kMediumCorrection, 0, 4}
                               : KindRule{BARCODE_PDF417, 4, 9, 2};
}

}  // namespace

int QuietModules(CodeKind kind) { return RuleOf(kind).quiet_modules; }

CodePicture MakeCode(CodeKind kind, const std::string& text) {
  const KindRule rule = RuleOf(kind);
  const std::unique_ptr<zint_symbol, FreeSymbol> symbol(ZBarcode_Create());
  if (symbol == nullptr) throw Error("not enough memory for a code");
  symbol->symbology = rule.symbology;
  symbol->option_1 = rule.error_correction;
  if (rule.columns > 0) symbol->option_2 = rule.columns;
  // The bytes as they are: readers of both kinds take them for UTF-8, and not all understand a mark that says
  // so.
  symbol->input_mode = DATA_MODE;
  const auto* const bytes = reinterpret_cast<const unsigned char*>(text.data());
  const int failure =
      text.empty() ? ZINT_ERROR_INVALID_DATA
                   : ZBarcode_Encode_and_Buffer_Vector(symbol.get(), bytes, static_cast<int>(text.size()), 0);
  if (failure >= ZINT_ERROR) {
    throw Error(failure == ZINT_ERROR_TOO_LONG ? "the text is too long for a code"
                                               : "a code cannot be made of the text");
  }
  const zint_vector& vector = *symbol->vector;
  const double scale = static_cast<double>(vector.width) / symbol->width;
  CodePicture picture{symbol->width + 0.0, static_cast<double>(vector.height) / scale, {}};
  for (const zint_vector_rect* bar = vector.rectangles; bar != nullptr; bar = bar->next) {
    picture.dark.push_back({static_cast<double>(bar->x) / scale, static_cast<double>(bar->y) / scale,
                            static_cast<double>(bar->width) / scale,
                            static_cast<double>(bar->height) / scale});
  }
  return picture;
}

DotPicture DrawCode(CodeKind kind, const CodePicture& code, int dots_per_module) {
  const auto dots = [&](double modules) {
    return static_cast<std::size_t>(std::lround(modules * dots_per_module));
  };
  const double quiet = QuietModules(kind);
  DotPicture picture{
      static_cast<int>(dots(code.width + 2 * quiet)), static_cast<int>(dots(code.height + 2 * quiet)), {}};
  const auto width = static_cast<std::size_t>(picture.width);
  picture.dots.assign(width * static_cast<std::size_t>(picture.height), 0xFF);
  for (const CodePicture::Bar& bar : code.dark) {
    for (std::size_t y = dots(bar.y + quiet); y < dots(bar.y + bar.height + quiet); ++y) {
      const auto row = picture.dots.begin() + static_cast<std::ptrdiff_t>(y * width);
      std::fill(row + static_cast<std::ptrdiff_t>(dots(bar.x + quiet)),
                row + static_cast<std::ptrdiff_t>(dots(bar.x + bar.width + quiet)), std::uint8_t{0});
    }
  }
  return picture;
}

}  // namespace mox
