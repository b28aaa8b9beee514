#pragma once

#include <span>
#include <string>

#include "mox/foundation/display_format.h"
#include "mox/foundation/record_set.h"
#include "mox/foundation/write_and_post_internal.h"

#pragma GCC visibility push(hidden)

namespace mox {

/// A tax rate as the recapitulations show it: "25,00%".
inline std::string RateText(double rate) { return FormatFloat(",0.00%;-,0.00%", rate, CurrentLocale()); }

/// Visits every record from the first to the last with the controls disabled, and leaves the set at its end.
template <typename Visit>
void WalkToEnd(RecordSet& lines, Visit visit) {
  const ControlsGuard guard(lines);
  for (lines.First(); !lines.Eof(); lines.Next()) visit();
}

/// The same, but comes back to the record that was current, also when an error leaves the walk early. Of a
/// record it reads the given fields.
template <typename Visit>
void WalkAndReturn(RecordSet& lines, std::span<const std::size_t> fields, Visit visit) {
  const ControlsGuard guard(lines);
  SavedPosition position(lines);
  for (lines.First(); !lines.Eof(); lines.Next()) {
    lines.FetchAhead(fields);
    visit();
  }
  position.Restore();
}

}  // namespace mox

#pragma GCC visibility pop
