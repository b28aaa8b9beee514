#pragma once

#include <string>

#include "paper/layout.h"
#include "paper/page.h"
#include "paper/paper_template.h"

namespace mox {

class TextPainter;

/// The paper of printers for slips: 203 dots an inch, of which these are printed on.
enum class SlipPaper : int { k58mm = 384, k80mm = 576 };

/// The page as a slip, one sheet as high as it needs, in dots.
LaidDocument LayOutSlip(const DocumentPage& page, const PaperTemplate& paper, TextPainter& painter,
                        SlipPaper width);

}  // namespace mox
