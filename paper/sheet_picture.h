#pragma once

#include <vector>

#include "paper/layout.h"
#include "paper/picture.h"

namespace mox {

class TextPainter;

/// What of a sheet reaches into a part of it, so that a long slip is not drawn as often as it has parts.
class SheetParts {
 public:
  /// The sheet stays where it is.
  SheetParts(const LaidSheet& sheet, TextPainter& painter);

  /// Between two heights of the sheet.
  LaidSheet Between(double top, double bottom) const;

 private:
  const LaidSheet& sheet_;
  std::vector<double> heights_;  // of its texts
};

/// The rows of pixels of a sheet from `top` on, on white. In memory is what these rows need. Raises Error.
Picture DrawRows(const SheetParts& parts, double width, double pixels_per_unit, int top, int rows,
                 TextPainter& painter);

}  // namespace mox
