#pragma once

#include <string>

#include "mox/foundation/display_format.h"
#include "mox/foundation/record_set.h"

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

/// The same, but comes back to the record that was current, also when an error leaves the walk early.
template <typename Visit>
void WalkAndReturn(RecordSet& lines, Visit visit) {
  const ControlsGuard guard(lines);
  SavedPosition position(lines);
  for (lines.First(); !lines.Eof(); lines.Next()) visit();
  position.Restore();
}

/// Writes a record that was opened, `write()`, and posts it. An error on the way cancels it, so that no later
/// move posts half of it.
template <typename Write>
void WriteAndPost(RecordSet& records, Write write) {
  try {
    write();
    records.Post();
  } catch (...) {
    records.Cancel();
    throw;
  }
}

}  // namespace mox

#pragma GCC visibility pop
