#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace mox {

enum class CodeKind : std::uint8_t {
  kQr,      ///< receipt verification and payment addresses
  kPdf417,  ///< payment slips: nine columns, error correction of level 4, as their standard says
};

/// A two-dimensional code without its quiet zone, in modules.
struct CodePicture {
  struct Bar {
    double x;
    double y;
    double width;
    double height;
  };
  double width = 0;
  double height = 0;
  std::vector<Bar> dark;
};

/// How many modules of white a reader needs around a code.
int QuietModules(CodeKind kind);

/// Raises Error for a text that is empty or too long for a code.
CodePicture MakeCode(CodeKind kind, const std::string& text);

/// A picture of shades, a byte each, row by row: 0 black, 255 white.
struct DotPicture {
  int width = 0;
  int height = 0;
  std::vector<std::uint8_t> dots;
};

/// The code with its quiet zone, so many dots a module.
DotPicture DrawCode(CodeKind kind, const CodePicture& code, int dots_per_module);

}  // namespace mox
