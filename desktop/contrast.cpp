#include "desktop/contrast.h"

#include <algorithm>
#include <cmath>

namespace mox {
namespace {

constexpr double kEnough = 4.5;
const QColor kFault(0xD0, 0x30, 0x30);

double Luminance(const QColor& color) {
  const auto linear = [](double part) {
    return part <= 0.03928 ? part / 12.92 : std::pow((part + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

}  // namespace

double Contrast(const QColor& letters, const QColor& background) {
  const auto [dark, light] = std::minmax({Luminance(letters), Luminance(background)});
  return (light + 0.05) / (dark + 0.05);
}

QColor ReadableOn(const QColor& color, const QColor& background) {
  const int towards = Luminance(background) < 0.18 ? 255 : 0;
  QColor readable = color;
  for (int step = 0; step < 32 && Contrast(readable, background) < kEnough; ++step) {
    const auto nearer = [towards](int part) { return part + (towards - part) / 8; };
    readable = QColor(nearer(readable.red()), nearer(readable.green()), nearer(readable.blue()));
  }
  return readable;
}

QString FaultStyle(const QPalette& palette) {
  return QStringLiteral("color: %1").arg(ReadableOn(kFault, palette.color(QPalette::Window)).name());
}

}  // namespace mox
