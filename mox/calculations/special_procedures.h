#pragma once

#include <optional>
#include <string_view>

#include "mox/foundation/record_set.h"

namespace mox {

// --- special procedures, by rate and output-tax kind ---
//
// The kind of a line is the text of its field kind_field_name: "OPB", "OPP" (margin: the tax lies in sale
// less purchase amount), "OPO" (the whole amount is taxed), "NEO", "OSL" (no tax). Any other kind shows the
// error dialog, and the line is recorded with the amounts of the line before it (0 for the first), on
// purpose. Rows are found by stopa and vrsta, the latter being the text of kind_value_field without regard to
// case. The recapitulation has osnovica, porez, ukupno, neoporezivo, vrsta, stopa and oznaka_stope, by name.
// Without a sale or a purchase amount field it stays empty. The lines are left at their end. An error on the
// way leaves the rows of the lines before it; the members by rate then leave the recapitulation empty.

/// Margin scheme. Margin tax is not rounded beyond four decimals; a negative margin makes the whole line
/// non-taxable. The sums of a row are rounded to hundredths, and its neoporezivo absorbs their difference.
void FillPDVDataPosebniPostupak(const std::optional<Field>& sale_amount_field,
                                const std::optional<Field>& purchase_amount_field, const Field& rate_field,
                                const Field& kind_value_field, RecordSet& recap,
                                std::string_view kind_field_name);

/// Travel arrangements. Lines whose vrsta_stavke is 1 are skipped; margin tax is rounded to hundredths, sums
/// are not, and negative margins stay.
void FillPDVDataAranzmanPosebniPostupak(const std::optional<Field>& sale_amount_field,
                                        const std::optional<Field>& purchase_amount_field,
                                        const Field& rate_field, const Field& kind_value_field,
                                        RecordSet& recap, std::string_view kind_field_name);

/// Hotels with consumption tax: the line's pp_iznos comes off the amount first and back into ukupno. Margin
/// tax is rounded to hundredths, sums are not, and negative margins stay. Rows are kept apart by pp_stopa
/// too; pp_iznos and pp_stopa are written where the recapitulation has them.
void FillPDVDataHTLPosebniPostupakPP(const std::optional<Field>& sale_amount_field,
                                     const std::optional<Field>& purchase_amount_field,
                                     const Field& rate_field, const Field& consumption_tax_rate_field,
                                     const Field& kind_value_field, RecordSet& recap,
                                     std::string_view kind_field_name);

}  // namespace mox
