#pragma once

#include <QColor>
#include <QPalette>
#include <QString>

namespace mox {

/// How well letters of one colour stand out from the other, from 1 to 21, as WCAG 2 measures it; 4.5 is
/// enough for text.
double Contrast(const QColor& letters, const QColor& background);
/// The colour, so much lighter or darker that letters of it can be read there.
QColor ReadableOn(const QColor& color, const QColor& background);
/// The style of a label that tells what is wrong, in the light and the dark.
QString FaultStyle(const QPalette& palette);

}  // namespace mox
