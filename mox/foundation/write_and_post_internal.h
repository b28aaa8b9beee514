#pragma once

#include "mox/foundation/record_set.h"

#pragma GCC visibility push(hidden)

namespace mox {

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
