#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

#include "appserver/company_data.h"
#include "appserver/named_service.h"
#include "appserver/named_transaction.h"
#include "mox/foundation/secrets.h"

namespace mox {

// Invoices to private persons, which an intermediary delivers as e-invoices.

/// The invoice as the intermediary gets it, one object of JSON (docs/E-INVOICES.md). Amounts, quantities and
/// rates are decimal texts exactly as they are stored; nothing is rounded, and what is null is left out.
///
/// Raises Error for a document that does not exist, is neither an invoice nor the storno of one, has no lines
/// or no tax by rate, whose lines, tax by rate and total disagree, for a storno with a positive total, and
/// where the company is not named yet.
std::string InvoiceJson(Database& database, const CompanyData& company, std::int64_t doc_id);

/// Fills the record set "adsData" of the service "MojERacunB2C".
void FillInvoiceData(Database& database, const ServiceInputs& inputs, RecordSet& answer);
/// Fills the record set "adsData" of the service "ERacunZaKupca": the same for the buyer himself, without the
/// company's account, where the document has an e-invoice.
void FillInvoiceForBuyer(Database& database, const ServiceInputs& inputs, RecordSet& answer);

/// A field of the company's account with the intermediary.
struct AccountField {
  std::string_view name;
  std::string_view column;
  std::string_view summary;
  bool is_flag = false;
  bool is_secret = false;
};
std::span<const AccountField> AccountFields();
/// Raises ConversionError for a flag that is neither true nor false.
void StoreAccountField(Database& database, const AccountField& field, const Value& value);
/// Adds the keys of the accounts, and what their addresses hold, to what nobody is to see.
void AddAccountSecrets(Database& database, Secrets& secrets);
/// Those that link documents to their e-invoices, and the one that sets the company's account.
std::span<const NamedTransaction> EInvoiceTransactionTable();

}  // namespace mox
