#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "paper/layout.h"

using cairo_t = struct _cairo;  // NOLINT(bugprone-reserved-identifier): as its library names it

namespace mox {

/// Whether a family of fonts is installed.
bool IsInstalledFont(std::string_view name);

/// Measures and draws texts in one family of fonts. Of one thread.
class TextPainter {
 public:
  struct Size {
    double width = 0;
    double height = 0;
  };

  /// Raises Error where the family is not installed.
  explicit TextPainter(const std::string& font);
  ~TextPainter();
  TextPainter(const TextPainter&) = delete;
  TextPainter& operator=(const TextPainter&) = delete;

  /// The size of a text, wrapped at that width where it is above 0. Raises Error for a letter that no font
  /// has.
  Size Measure(const std::string& text, const TextStyle& style, double wrap_width = 0);
  double LineHeight(const TextStyle& style);
  /// At least the width of a text of one line, of the widths of its letters alone: quick where there are
  /// many.
  double WidthAtMost(std::string_view text, const TextStyle& style);

  /// A line of a text as it stands in its box: where it begins, the height that letters stand on, its width.
  struct Line {
    double x = 0;
    double baseline = 0;
    double width = 0;
    std::string text;
  };
  /// The lines of a text, for outputs that draw letters themselves.
  std::vector<Line> LinesOf(const LaidText& text);
  /// Draws a text in its box.
  void Draw(cairo_t* cairo, const LaidText& text);

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

/// Draws a whole sheet.
void DrawSheet(cairo_t* cairo, const LaidSheet& sheet, TextPainter& painter);

}  // namespace mox
