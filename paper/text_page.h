#pragma once

#include <string>

#include "paper/page.h"

namespace mox {

/// The page as plain text of at most 100 characters a line, which a printer or a mail takes as it is. Codes
/// are left out.
std::string TextPage(const DocumentPage& page, const LocaleSettings& locale);

}  // namespace mox
