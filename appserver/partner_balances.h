#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"
#include "appserver/database_check.h"

namespace mox {

// What partners owe is the sum of their open items, in euros: what stands in kunas of an item, of days until
// 2022, is summed and converted once, so that what was settled in kunas stays settled. par_saldo keeps the
// sums of all items up to one, in whole ten-thousandths, so that asking for balances does not read all that
// was ever paid; who reads adds the items after that one.

/// What the rows of an item (o, grouped by its number) come to in euros, as SQL in whole ten-thousandths:
/// debt less payments.
std::string OpenInEuros();
/// The same of its debts alone. The payments are the difference.
std::string DebtInEuros();

/// What the rows (o) of which `condition` holds make of partners' debts and payments, as SQL: rows of par_id,
/// duguje and potrazuje, whole ten-thousandths of euros, several for a partner. Sums of what several
/// conditions make are that of all of them.
std::string ChangeOfBalances(const std::string& condition);
/// The condition of the rows that are not kept yet.
inline constexpr const char* kSinceKept = "o.id > (SELECT stavka_id FROM par_saldo_do)";

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
