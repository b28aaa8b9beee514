#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "appserver/database.h"
#include "appserver/named_transaction.h"
#include "mox/foundation/dates.h"

namespace mox {

// What partners owe of stored invoices. Debt and payments of a document have one number of document among the
// open items; their difference is what is still open. These run in the caller's transaction.

/// How documents are paid: in cash, by card, through the bank.
struct KindOfPay {
  std::string name;
  bool at_once = false;
};
/// By its name or its code in the codebook; none where there is no such.
std::optional<KindOfPay> FindKindOfPay(Database& database, const std::string& text);

/// Opens the item of a new invoice that is paid later: its total, due on the due date of its header, or else
/// after the partner's days of payment, which becomes its due date. Answers when it is due; none for an
/// invoice that is paid at once, has no partner or costs nothing.
///
/// Raises WriteRefused where the partner may not owe it: his credit does not allow it, or the user has to
/// agree, and has not on the figures of this moment (`saldo` of the record set `Potvrde`).
std::optional<Date> OpenItem(Database& database, const SentRecordSets& sent, std::int64_t doc_id);
inline constexpr std::string_view kConfirmations = "Potvrde";

/// A storno takes back the debt of the document that it cancels; what was paid of it stays to the partner's
/// credit.
void CloseItem(Database& database, std::int64_t cancelled_id, std::int64_t storno_id);

}  // namespace mox
