#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "mox/foundation/record_set.h"

namespace mox {

// What the journals of imports and of writes say alike.

/// Now, to the second, and such a moment for people: "2024-03-01 10:00:00".
DateTime JournalMoment();
std::string JournalMomentText(DateTime moment);

/// A text that somebody sent as a journal shows it, so many characters at most.
std::string CutForJournal(std::string_view text, std::size_t longest);

/// The same; null where it is empty.
Value JournalText(std::string_view text, std::size_t longest);

}  // namespace mox
