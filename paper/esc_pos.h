#pragma once

#include <string>

#include "mox/foundation/output_file.h"
#include "paper/layout.h"

namespace mox {

class TextPainter;

inline constexpr OutputKind kSlipOutput = {"a slip",
                                           [](std::string_view file) { return file.starts_with("\x1B@"); }};

struct SlipSettings {
  bool cut = true;
  bool open_drawer = false;
};

/// What the printer is sent: the slip as raster pictures (GS v 0), so that letters do not depend on its code
/// page; before it the pulse for the drawer, behind it feed and cut.
std::string EscPos(const LaidDocument& slip, TextPainter& painter, const SlipSettings& settings);

}  // namespace mox
