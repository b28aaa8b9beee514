#pragma once

#include <cstdint>
#include <span>

#include "appserver/database.h"
#include "appserver/named_transaction.h"
#include "mox/documents/document_kinds.h"

namespace mox {

// What partners owe of stored invoices. Debt and payments of a document have one number of document among the
// open items; their difference is what is still open. These run in the caller's transaction.

/// Opens the item of a new document that is paid later: its total, due on the due date of its header, or else
/// after the partner's days of payment. Nothing for a document that is paid at once, has no partner or costs
/// nothing.
void OpenItem(Database& database, const DocumentKind& kind, std::int64_t doc_id);

/// A storno takes back the debt of the document that it cancels; what was paid of it stays to the partner's
/// credit.
void CloseItem(Database& database, std::int64_t cancelled_id, std::int64_t storno_id);

/// Those that store payments.
std::span<const NamedTransaction> MoneyTransactionTable();

}  // namespace mox
