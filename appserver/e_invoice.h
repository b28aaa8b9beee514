#pragma once

#include <string>

#include "appserver/read_service.h"

namespace mox {

// Invoices to private persons, which an intermediary delivers as e-invoices.

/// The invoice as the intermediary gets it, one object of JSON (docs/E-INVOICES.md). Amounts, quantities and
/// rates are decimal texts exactly as they are stored; nothing is rounded, and what is null is left out.
///
/// Raises Error for a document that does not exist, is neither an invoice nor the storno of one, has no lines
/// or no tax by rate, whose lines, tax by rate and total disagree, and for a storno with a positive total.
std::string InvoiceJson(Database& database, std::int64_t doc_id);

/// Fills the record set "adsData" of the service "MojERacunB2C".
void FillInvoiceData(Database& database, const ServiceInputs& inputs, RecordSet& answer);

}  // namespace mox
