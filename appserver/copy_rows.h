#pragma once

#include <functional>

#include "appserver/database.h"

namespace mox {

/// Puts all rows of a company database, with their keys, in the place of those of another one of the same
/// version, whatever the engines. Runs in the callers' transactions, one that reads and one that writes.
/// `reached` is called every now and then, and may raise. Raises DatabaseError.
void CopyRows(Database& from, Database& to, const std::function<void()>& reached = nullptr);

}  // namespace mox
