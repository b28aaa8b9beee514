#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "appserver/database.h"
#include "mox/documents/storno.h"

namespace mox {

/// A document as it is stored.
struct StoredDocument {
  std::int64_t id = 0;
  std::string vrsta;
  const DocumentKind* kind = nullptr;  ///< null where the program knows no such kind
  std::optional<std::int64_t> stornira_id;
  RecordSet header;  ///< its row of the table dok

  /// The kind by which its figures are read: that of the document that it mirrors, or its own.
  const DocumentKind* figures_kind = nullptr;
  std::string supplier_document;  ///< of that document, what its vrsta_dok_dob says
};

/// Why a day cannot be one of these books, of a document or a payment: a slip of the keyboard in its year.
/// Empty where it can.
std::string YearFault(Date day);

/// None where there is no such document.
std::optional<StoredDocument> ReadStoredDocument(Database& database, std::int64_t id);
/// Raises Error where there is no such document.
void RequireDocument(Database& database, std::int64_t id);

/// The rows of a table that belong to a document, in the order of their keys.
RecordSet ReadRows(Database& database, const std::string& table, std::int64_t doc_id);
/// Its lines of one sort, "roba" or "usluga".
RecordSet ReadLines(Database& database, std::int64_t doc_id, const char* sort);

}  // namespace mox
