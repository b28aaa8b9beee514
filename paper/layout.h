#pragma once

#include <memory>
#include <string>
#include <vector>

#include "paper/picture.h"
#include "symbols/code_picture.h"

namespace mox {

// A document laid out on sheets: what stands where, in points (1/72 inch) on paper and in dots on slips. What
// is drawn on any output, and what tests measure, is this.

enum class Align { kLeft, kRight, kCenter };

struct TextStyle {
  double size = 9;
  bool bold = false;
};

/// What a text is to who has the page read aloud.
enum class TextRole { kParagraph, kTitle, kHeading, kCell };

/// A text in a box of that width, whose height is that of its lines.
struct LaidText {
  double x = 0;
  double y = 0;
  double width = 0;
  std::string text;
  TextStyle style;
  Align align = Align::kLeft;
  bool wraps = false;
  TextRole role = TextRole::kParagraph;
  int table = 0;  ///< of headings and cells: which table of the document, and which row of all
  int row = 0;
};

struct LaidRule {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  double gray = 0;  ///< 0 black, 1 white
};

struct LaidCode {
  double x = 0;
  double y = 0;
  double module = 1;  ///< the width of one
  std::shared_ptr<const CodePicture> code;
};

struct LaidPicture {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;
  std::shared_ptr<const Picture> picture;
};

struct LaidSheet {
  std::vector<LaidRule> rules;
  std::vector<LaidText> texts;
  std::vector<LaidCode> codes;
  std::vector<LaidPicture> pictures;
};

struct LaidDocument {
  std::string title;
  std::string author;
  double width = 0;
  double height = 0;  ///< of a slip as high as it needs
  std::vector<LaidSheet> sheets;
  double unit = 1;  ///< of all lengths, in points
  std::vector<std::string> left_out =
      {};  ///< for whoever prints, in English: what of the page is not on it and why
};

}  // namespace mox
