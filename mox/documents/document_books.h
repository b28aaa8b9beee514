#pragma once

#include <cstdint>

#include "mox/documents/document_kinds.h"
#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"
#include "mox/foundation/record_set.h"

namespace mox {

// Where documents of a kind stand in the company's books. They count with a sign: a storno has amounts below
// 0 itself and counts like what it cancels, and a return, whose amounts are above 0, counts against what was
// sold or bought.

/// Which tax a document carries: what the company charges, or what its suppliers charge and it deducts.
enum class TaxSide : std::uint8_t { kNone, kOutput, kInput };

struct TaxRole {
  TaxSide side = TaxSide::kNone;
  int sign = 0;
};

/// Output tax: invoices, own use and shortages (which are taxed as supplies), less customers' returns. Input
/// tax: goods receipts, less returns to suppliers. A pro-forma invoice, an order and the daily cash report,
/// which repeats what invoices say, carry none; nor do documents without tax by rate.
TaxRole TaxRoleOf(const DocumentKind& kind);

/// 1 for what is sold: invoices and their stornos; -1 for customers' returns; 0 for all else, the company's
/// own use too, which nobody buys.
int TurnoverSign(const DocumentKind& kind);

/// What a document in another currency comes to in that of its date.
struct ConvertedTotal {
  Currency base;
  Currency tax;
  Currency total;  ///< base, tax and what else there is: fees, and what rounded lines leave
};

/// Base and tax of each rate, and the rest of the total, are converted one by one, each to hundredths, so
/// they add up to what is converted: nothing is left that would be neither goods, tax nor fee. `taxes` has
/// `osnovica` and `porez`; `rate` as InCurrencyOfDate takes it. Where no tax is charged, its columns do not
/// count.
ConvertedTotal TotalInCurrencyOfDate(Currency total, const RecordSet& taxes, bool charges_tax, Date date,
                                     double rate);

}  // namespace mox
