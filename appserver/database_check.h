#pragma once

#include <string>
#include <vector>

#include "appserver/database.h"

namespace mox {

/// Something that is wrong with a company database.
struct DatabaseFinding {
  std::string check;    ///< "file", "total", "numbers", "stock" or "balance"
  std::string where;    ///< the document or the series of numbers; empty for the file
  std::string finding;  ///< on one line
};

/// Reads a whole database, as it is at one moment: what the engine finds in the file, documents whose header,
/// lines and tax by rate disagree, numbers that are missing in the series of a kind and year, and stock that
/// is not the sum of its movements.
std::vector<DatabaseFinding> FindFaults(Database& database);

}  // namespace mox
