#pragma once

#include "mox/foundation/record_set.h"

namespace mox {

// Costing of goods receipts: selling prices from a margin percent (mode 0), or the margin from a price (any
// other mode). All work on the current record, which the caller holds in edit mode; digit arguments below 2
// are raised to 2. Errors are those of the line formulas.

/// Mode 0: marza := nci * marp / 100 rounded to digits; vpci := nci + marza; with a quantity other than 0
/// vpc := vpci / kolicina rounded to digits; then vpci and marza give up the difference, rounded to
/// hundredths, between vpci and the rounded unit price times the quantity. This last step runs with quantity
/// 0 too: vpci becomes 0 (a rest under a cent may remain) and marza -nci. Otherwise: vpci := R2(vpc *
/// kolicina); marza := vpci - nci; marp := marza / nci * 100 unless nci is 0.
void CalcVPC_Marza_PrimkaKalkulacija(RecordSet& lines, int mode, int digits);

/// The same with the margin amount in mari.
void Calc_PrimkaKalkulacija_VPC_OR_Marza(RecordSet& lines, int mode, int digits);

/// The retail price. Mode 0: mari := nci * marp / 100 rounded to price_digits; mpci := R2((nci + mari) * (1 +
/// tbr_stp / 100)) + pov_naki; with a quantity other than 0 mpc := mpci / kolicina rounded to price_digits;
/// then mpci gives up its difference to the rounded unit price times the quantity, and mari the part of it
/// without tax; pdvi at last. Otherwise: mpci := R2(mpc * kolicina), pdvi, mari := mpci - pov_naki - nci -
/// pdvi, marp := mari / nci * 100 unless nci is 0.
void CalcMPC_Marza_PrimkaKalkulacija(RecordSet& lines, int mode, int vat_digits, int price_digits);

/// Promotional retail price (Bosnia and Herzegovina), on unit prices only. Mode 0: maria, mpcia, mpca from
/// marpa. Otherwise mpcia, pdvi, maria, marpa from mpca, and marp anew from mpc; a percent on a purchase
/// price of 0 is 0.
void CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH(RecordSet& lines, int mode, int vat_digits);

/// Goods of another owner: nc := mpc * 100 / (tbr_stp + 100) rounded to the decimals of purchase prices.
void CalcNC_PrimkaZaTuduRobu(RecordSet& lines);

/// A selling price is given as an article is entered; marp follows. Puts the record in edit mode. The
/// purchase price is fc less three successive discounts plus pot_nak, rounded to hundredths, and ztp percent
/// of it on top, not rounded; every field but fc is optional, and without ztp it is 0. With a price of 0
/// nothing more is done; with a purchase price of 0 marp is 0.
void Calc_Marp_ZadanaMarza_ArtInsert(RecordSet& articles, Currency price, bool with_vat);

}  // namespace mox
