#pragma once

#include <cstdint>

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
/// document, and datum (today). What else it says is taken from the document where it is left null.
RecordSet MakeStornoHeader(std::int64_t doc_id);
/// Stores the storno that the header asks for, with the transaction "DokumentStorno": the server mirrors what
/// it has stored. False when it refused.
bool StoreStorno(RecordSet& header);
/// The same with nothing to say about it.
bool StoreStorno(std::int64_t doc_id);

/// Whether a document may be stored. Lines of a kind that cancels others, entered by hand, have negative
/// quantities; a positive one would be a second sale and is asked about (dialog kind 1). True for any other
/// document, and where the user says yes.
bool ConfirmQuantities(const Document& document);

}  // namespace mox
