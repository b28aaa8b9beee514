#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "mox/documents/document.h"

namespace mox {

// Cancelling a stored document. Its storno is its exact mirror: every amount of every line, of the
// recapitulation and of the total is the negative of the stored one and is not calculated anew; quantities
// turn too, while prices, percents and texts stay. A document is cancelled once, a storno not at all.

/// The records with quantities and amounts of the other sign. Which fields these are the vocabulary says; an
/// empty value stays empty.
RecordSet MirrorOf(const RecordSet& records);
/// The same where every currency field is an amount, as in the totals of a supplier's document.
RecordSet MirrorOfTotals(const RecordSet& records);

/// The header of the storno of a stored document: one record, "Zaglavlje", with stornira_id, the id of the
/// document, and datum (today). Where it is left null, what else it says is taken from the document, but for
/// the due date; the user is who asks, and that of the document where nobody has logged in.
RecordSet MakeStornoHeader(std::int64_t doc_id);
/// Stores the storno that the header asks for, with the transaction "DokumentStorno": the server mirrors what
/// it has stored. False when it refused.
bool StoreStorno(RecordSet& header);
/// The same with nothing to say about it.
bool StoreStorno(std::int64_t doc_id);

/// A line, counted from 1, and what of it is above 0.
struct SellingLine {
  std::size_t row;
  std::string_view field;
};

/// The line that would be a second sale: lines of a kind that cancels others, entered by hand, have negative
/// quantities and cost less than nothing. None where all do, where there are no lines, and for other kinds.
std::optional<SellingLine> FindSellingLine(const DocumentKind& kind, const RecordSet* lines);

/// Whether a document may be stored. A positive quantity in a kind that cancels others is asked about (dialog
/// kind 1); a yes is noted in the header, potvrdeno, which the server wants to see, and nobody asks again.
/// True for any other document. Document::Store() asks by itself.
bool ConfirmQuantities(Document& document);

/// The kind by whose row the lines of a stored document are read and summed: its own, or that of the document
/// that it mirrors, `cancelled`, whose services and fees its own kind may not have. Null for no mirror.
const DocumentKind& FiguresKindOf(const DocumentKind& kind, const DocumentKind* cancelled);

/// Where only the kind is known, and not which document a stored one of it cancels: how its lines of goods,
/// or those of services, are read. By its own row where it has such lines, else, for a kind that cancels
/// others, by that of a kind that it cancels. Null where neither has them.
const LineSchema* StoredSchema(const DocumentKind& kind, bool services);

}  // namespace mox
