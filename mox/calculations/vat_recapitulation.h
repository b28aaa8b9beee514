#pragma once

#include <optional>
#include <string_view>

#include "mox/foundation/record_set.h"

namespace mox {

// The tax recapitulation of a document: one row per rate (in the special procedures per rate and output-tax
// kind) with the taxable base, the tax and the total, in order of first appearance. Each member empties the
// recapitulation, which must be open, and walks the lines from the first to the last with their controls
// disabled.
//
// A field argument stands for a column of the lines; the walk goes over the record set that owns the amount
// field. The lines may have pov_naki (return fee), neoporezivo (non-taxable amount) and pp_iznos (consumption
// tax) of their own; where they do not, these count as 0. Amounts are currency; tax is formed in extended
// precision, rounded where stated and otherwise to four decimals.
//
// All raise DivisionByZero at a rate of -100 where tax is taken out of a gross amount, FieldNotFound for a
// field that a recapitulation needs, Overflow for sums outside the range of a currency.

// --- by rate ---
//
// The recapitulation has the fields osnovica, porez, stopa, the rate as a text ("25,00%") and ukupno, in this
// order; the name of the fourth is free. Rows are found by stopa.
//
// FillPDVData, FillPDVDataPPOM and FillPDVDataIznosBezPDV take lines of goods and lines of services, either
// of which may be absent, and leave both sets on the record that was current.

/// Amounts with tax. Per line the tax, rounded to digits (at least 2), is taken out of the amount less
/// pov_naki and neoporezivo; amounts of the second field have no deductions. At the end each row's porez is
/// rounded to hundredths, and its ukupno becomes osnovica + porez + the pov_naki and neoporezivo of the last
/// line of the first set: this carry-over into every row is intended.
void FillPDVData(const std::optional<Field>& amount_field1, const std::optional<Field>& amount_field2,
                 const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                 RecordSet& recap, int digits);

/// The same without any deductions.
void FillPDVDataPPOM(const std::optional<Field>& amount_field1, const std::optional<Field>& amount_field2,
                     const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                     RecordSet& recap, int digits);

/// Amounts without tax: bases are summed, and the tax of a row is taken on the summed base, rounded to
/// hundredths. ukupno carries the last line's deductions over as FillPDVData does.
void FillPDVDataIznosBezPDV(const std::optional<Field>& amount_field1,
                            const std::optional<Field>& amount_field2,
                            const std::optional<Field>& rate_field1, const std::optional<Field>& rate_field2,
                            RecordSet& recap);

/// Return to supplier: amounts without tax, the tax of each line rounded to digits (at least 2) and summed,
/// then each row's sum rounded to hundredths; ukupno carries the last line's pov_naki over. Leaves the lines
/// at their end.
void FillPDVDataPovDob(const Field& rate_field, const Field& amount_field, RecordSet& recap, int digits);

/// Spreads lines over the rows of an inventory book whose stopa equals the line's tbr_stp: roba_iznos +=
/// ukupno - pdvi - pov_naki, porezroba_iznos += pdvi, pov_nak_izn += pov_naki, unrounded. No rows are added.
/// Leaves both sets at their ends.
void FillPDVDataKnjigaPopisa(RecordSet& lines, RecordSet& book);

}  // namespace mox
