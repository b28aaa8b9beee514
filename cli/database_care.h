#pragma once

#include <string>

#include "cli/command.h"

namespace mox {

/// Prints what is wrong with a company database, a record each: what was checked, where, and what was found.
/// Not valid where anything was found. Raises Error for a file that cannot be read as one.
void CheckDatabase(const std::string& path, bool table, Session& session);

/// Copies the session's database to a file whose name is free, while others use it.
void BackUpDatabase(const std::string& copy, Session& session);

/// Puts a copy in the place of the session's database, which nobody else may use meanwhile, and tells where
/// the old file stays. Raises Error where the two are of different companies, unless any is wanted.
void RestoreDatabase(const std::string& copy, bool any_company, Session& session);

}  // namespace mox
