#pragma once

#include "paper/page.h"

namespace mox {

/// Reads the numbers on the page as people do: the lines add up to the sums below them, base, tax and fees to
/// the total. Raises Error that says what does not. MakePage asks it.
void CheckPage(const DocumentPage& page, const LocaleSettings& locale);

}  // namespace mox
