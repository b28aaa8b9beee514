#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "mox/documents/document_kinds.h"

namespace mox {

// The figures of a document, for all who show, store, send or check it. The record sets are calculated ones,
// and are only read. A field that a set does not have counts as 0.

/// The record sets of a document; null where it has none.
struct DocumentSets {
  const RecordSet* goods = nullptr;
  const RecordSet* services = nullptr;
  const RecordSet* recap = nullptr;
  /// What the header's vrsta_dok_dob says.
  std::string supplier_document = {};
};

/// Whether lines of the schema have fees (pov_naki), which carry no tax. Of lines that have none a column of
/// that name does not count.
bool HasFees(const LineSchema& schema);
/// The fees of all lines. Raises Overflow.
Currency Fees(const DocumentKind& kind, const DocumentSets& sets);

/// What is to be paid: the sum of the field that the kind names for each sort of lines, fees included. Of a
/// kind whose lines have no total it is the recapitulation's base and tax, and the fees of the lines; the
/// base alone where the supplier's document of a receipt carries neither. Money is paid in hundredths: where
/// lines are finer their sum is rounded to them. None for a kind that costs nothing. Raises Overflow.
std::optional<Currency> ToBePaid(const DocumentKind& kind, const DocumentSets& sets);

/// How figures are looked at: as those of a document that is stored or sent, or as those of one that may be
/// in the books from the time when a cent a line was let pass and amounts were not traced to prices.
enum class FiguresOf : std::uint8_t { kNew, kStored };

/// What every document that is stored or sent has to be. Raises Error that says what it is not: every line is
/// calculated; an amount of a unit price is quantity times it as far as that price was not rounded, amounts
/// are the sums and the percentages that the kind says as far as these were not rounded, what is to be paid
/// for a line is its base, tax and fee, and its tax the rate of its base, which is 0 to 100, as far as the
/// tax was rounded; a kind with tax has a recapitulation, others have none; and it has one row for each rate
/// of the lines and no other, with the same base and tax. Only rounding line by line may part these: where
/// taxes of lines are finer than hundredths by half a hundredth for each line (and one for the tax of the
/// rate), and where the whole base of a rate is taxed the tax by as much, which is then that of the base to
/// the hundredth.
void CheckFigures(const DocumentKind& kind, const DocumentSets& sets, FiguresOf of = FiguresOf::kNew);

/// Whether documents of the kind keep what the document of their supplier comes to: goods receipts with tax.
bool HasSupplierTotals(const DocumentKind& kind);
/// Whether the lines of a document carry neither tax nor fees, whatever their rates: a receipt of goods from
/// a supplier whose document charges none in the edition that the goods are of, or the recapitulation where
/// these are not at hand.
bool IsUncharged(const DocumentKind& kind, const DocumentSets& sets);

/// How the document of a supplier is summed, see CalcDocDobavljaca.
struct SupplierTerms {
  std::string supplier_document;
  int digits = 2;
  bool costs_count = false;
};

/// Writes the record of `totals`, as MakeSupplierTotals makes it. Where the goods are of the other edition it
/// is made anew with that one's fields. A column that the goods do not have is null in all of them. Raises
/// Overflow.
void FillSupplierTotals(RecordSet& totals, const RecordSet& goods, const SupplierTerms& terms);

/// Whether a currency field of the vocabulary holds amounts, which are summed, and not unit prices.
bool IsAmountField(const FieldDef& field);

}  // namespace mox
