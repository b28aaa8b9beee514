#include "desktop/sheet_view.h"

#include <QFontMetricsF>
#include <QPaintEvent>
#include <QPainter>
#include <cmath>

#include "desktop/croatian.h"
#include "desktop/qt_text.h"
#include "paper/text_painter.h"

namespace mox {
namespace {

int Pixels(double length) { return static_cast<int>(std::ceil(length)); }

QRectF BoxOf(const CodePicture::Bar& bar, const LaidCode& code) {
  return {code.x + bar.x * code.module, code.y + bar.y * code.module, bar.width * code.module,
          bar.height * code.module};
}

}  // namespace

QImage ToQtImage(const Picture& picture) {
  return QImage(picture.pixels.data(), picture.width, picture.height, QImage::Format_RGBA8888).copy();
}

SheetView::SheetView(const LaidDocument& document, std::size_t sheet, double zoom, TextPainter& painter)
    : document_(document), sheet_(sheet), zoom_(zoom), painter_(painter) {
  setFixedSize(Pixels(document.width * zoom), Pixels(document.height * zoom));
}

// What is raised out of a paint event ends the program.
void SheetView::paintEvent(QPaintEvent* event) {
  try {
    Paint(event->rect());
  } catch (const std::exception& error) {
    QPainter(this).drawText(rect(), Qt::AlignCenter | Qt::TextWordWrap, InCroatian(error.what()));
  }
}

void SheetView::Paint(const QRect& part) {
  if (!parts_) parts_.emplace(document_.sheets[sheet_], painter_);
  const double ratio = devicePixelRatioF();
  const int top = static_cast<int>(part.top() * ratio);
  const int rows = Pixels((part.bottom() + 1) * ratio) - top;
  QImage image = ToQtImage(DrawRows(*parts_, document_.width, zoom_ * ratio, top, rows, painter_));
  image.setDevicePixelRatio(ratio);
  QPainter(this).drawImage(QPointF(0, top / ratio), image);
}

void PaintSheet(QPainter& output, const LaidSheet& sheet, const QString& font, TextPainter& painter) {
  // Letters of one size, made smaller, have the same proportions on every output.
  constexpr int kLetterSize = 100;
  for (const LaidRule& rule : sheet.rules) {
    output.fillRect(QRectF(rule.x, rule.y, rule.width, rule.height),
                    QColor::fromRgbF(static_cast<float>(rule.gray), static_cast<float>(rule.gray),
                                     static_cast<float>(rule.gray)));
  }
  output.setPen(Qt::black);
  QFont letters(font);
  letters.setPixelSize(kLetterSize);
  letters.setHintingPreference(QFont::PreferNoHinting);
  for (const LaidText& text : sheet.texts) {
    letters.setBold(text.style.bold);
    const QFontMetricsF metrics(letters);
    for (const TextPainter::Line& line : painter.LinesOf(text)) {
      const QString words = ToQt(line.text);
      const double wide = metrics.horizontalAdvance(words);
      if (!(wide > 0)) continue;
      output.save();
      output.setFont(letters);
      output.translate(line.x, line.baseline);
      output.scale(line.width / wide, text.style.size / kLetterSize);
      output.drawText(QPointF(0, 0), words);
      output.restore();
    }
  }
  for (const LaidCode& code : sheet.codes) {
    for (const CodePicture::Bar& bar : code.code->dark) output.fillRect(BoxOf(bar, code), Qt::black);
  }
  for (const LaidPicture& picture : sheet.pictures) {
    output.drawImage(QRectF(picture.x, picture.y, picture.width, picture.height),
                     ToQtImage(*picture.picture));
  }
}

}  // namespace mox
