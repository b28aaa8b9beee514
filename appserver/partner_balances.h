#pragma once

#include <vector>

#include "appserver/database.h"
#include "appserver/database_check.h"

namespace mox {

// What partners owe is the sum of their open items. par_saldo keeps the sums of all items up to one, in whole
// ten-thousandths, so that asking for balances does not read all that was ever paid; who reads adds the items
// after that one.

/// Adds the items that came since to the kept sums. Runs at the end of each writing transaction; costs
/// nothing worth mentioning where there are none.
void KeepBalances(Database& database);
/// The same in a transaction of its own where items have gathered that were stored beside others; nothing
/// where the database is not to be had now.
void CatchUpBalances(Database& database);

/// Sums all items anew, after some were taken away.
void SumBalancesAnew(Database& database);

/// Where kept sums are not those of the items.
void CheckBalances(Database& database, std::vector<DatabaseFinding>& findings);

}  // namespace mox
