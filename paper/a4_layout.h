#pragma once

#include "paper/layout.h"
#include "paper/page.h"
#include "paper/paper_template.h"

namespace mox {

class TextPainter;

/// Lays a page out on sheets of A4: the columns as wide as their numbers need, names broken where they must
/// be, sums carried over from sheet to sheet, sheets numbered. Raises Error where the columns do not fit
/// however small they are, and for a logo that cannot be read.
LaidDocument LayOutA4(const DocumentPage& page, const PaperTemplate& paper, TextPainter& painter,
                      const LocaleSettings& locale);

}  // namespace mox
