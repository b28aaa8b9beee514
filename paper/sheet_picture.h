#pragma once

#include "paper/layout.h"
#include "paper/text_painter.h"

namespace mox {

/// A sheet of the document, counted from 0, as it looks on white paper, for a screen: so many pixels for each
/// of the document's units. Raises Error where there is no memory for it.
Picture DrawSheetPicture(const LaidDocument& document, std::size_t sheet, double pixels_per_unit,
                         TextPainter& painter);

}  // namespace mox
