#include "appserver/journal_text.h"

#include <algorithm>

#include "mox/foundation/clock.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"

namespace mox {

DateTime JournalMoment() {
  const std::int64_t now = LocalNow().milliseconds;
  return {now - now % 1000};
}

std::string JournalMomentText(DateTime moment) {
  std::string text = FormatIsoDateTime(moment);
  std::replace(text.begin(), text.end(), 'T', ' ');
  return text;
}

std::string CutForJournal(std::string_view text, std::size_t longest) {
  const std::string shown = VisibleText(text);
  return std::string(CutToCharacters(shown, longest));
}

Value JournalText(std::string_view text, std::size_t longest) {
  if (text.empty()) return {};
  return CutForJournal(text, longest);
}

}  // namespace mox
