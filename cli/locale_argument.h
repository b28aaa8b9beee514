#pragma once

#include <string>

#include "mox/foundation/app.h"

namespace mox {

/// The locale of a word: one of the names hr, sl, de, it, en-GB, en-US and iso, or a decimal separator with a
/// short date behind it, ". MM/dd/yyyy". Raises UsageError for any other.
LocaleSettings LocaleArgument(const std::string& word);

}  // namespace mox
