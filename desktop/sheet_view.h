#pragma once

#include <QImage>
#include <QString>
#include <QWidget>
#include <optional>

#include "paper/sheet_picture.h"

class QPainter;

namespace mox {

class TextPainter;

/// The picture as Qt has it.
QImage ToQtImage(const Picture& picture);

/// A sheet as it looks on paper. It keeps no picture: what of it is on the screen is drawn when it is.
class SheetView : public QWidget {
 public:
  /// `zoom` is the size of the document's unit. Document and painter outlive it.
  SheetView(const LaidDocument& document, std::size_t sheet, double zoom, TextPainter& painter);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  void Paint(const QRect& part);

  const LaidDocument& document_;
  std::size_t sheet_;
  double zoom_;
  TextPainter& painter_;
  std::optional<SheetParts> parts_;
};

/// Draws a sheet with the letters, lines and codes that it is made of, by whatever the output draws them
/// with, so that no picture of it is made however fine the output is. The painter's unit is the sheet's;
/// `font` is the family of its texts.
void PaintSheet(QPainter& output, const LaidSheet& sheet, const QString& font, TextPainter& painter);

}  // namespace mox
