#pragma once

#include <optional>

#include "mox/documents/document_kinds.h"

namespace mox {

// The figures of a document, for all who show, store, send or check it. The record sets are calculated ones,
// and are only read. A field that a set does not have counts as 0.

/// The record sets of a document; null where it has none.
struct DocumentSets {
  const RecordSet* goods = nullptr;
  const RecordSet* services = nullptr;
  const RecordSet* recap = nullptr;
};

/// What is to be paid: the sum of the field that the kind names for each sort of lines, fees included. Of a
/// kind whose lines have no total it is the recapitulation's base and tax, and the fees of the lines. None
/// for a kind that costs nothing. Raises Overflow.
std::optional<Currency> ToBePaid(const DocumentKind& kind, const DocumentSets& sets);

/// Raises Error with both figures where the base or the tax of the lines differs from that of the
/// recapitulation by more than rounding line by line can make: a hundredth for each line and each rate. A
/// document without a recapitulation passes, and so does one recapitulated by kinds of output tax, which is
/// taxed by rules of its own.
void CheckRecapitulation(const DocumentKind& kind, const DocumentSets& sets);

/// Whether a currency field of the vocabulary holds amounts, which are summed, and not unit prices.
bool IsAmountField(const FieldDef& field);

}  // namespace mox
