#pragma once

#include "mox/foundation/record_set.h"

namespace mox {

// The formulas of one document line. Each reads fields of the current record and writes one or more
// calculated fields; the record must be writable (being edited or inserted, or inside the calculate-fields
// event). Amounts are currency fields, percents and quantities floats; a null field reads as 0.
//
// R2 is rounding to hundredths, Rd to d decimals (see MyRound). "Unrounded" results are sums and differences
// of currency values and exact. Every formula is linear in the quantity: a negative quantity gives negative
// amounts, and rounding is symmetric about zero.
//
// All raise FieldNotFound for a field that the record set does not have, Overflow for a result that its field
// cannot hold. Fields written before an error keep what was written.

// --- unit price times quantity ---

/// pci := R2(pc * kolicina)
void calcPci_pc_kolicina(RecordSet& lines);
/// nci := R2(nc * kolicina)
void calcNc_Kolicina(RecordSet& lines);
/// fci := R2(fc * kolicina)
void calcFC_Kolicina(RecordSet& lines);
/// vpci := R2(vpc * kolicina)
void calcVpc_Kolicina(RecordSet& lines);
/// mpci := R2(mpc * kolicina)
void calcMPC_Kolicina(RecordSet& lines);
/// nmpci := R2(nmpc * kolicina)
void calcNMPC_Kolicina(RecordSet& lines);
/// pov_naki := R2(pov_nak * kolicina)
void calcPov_nak_Kolicina(RecordSet& lines);
/// pot_naki := R2(pot_nak * kolicina)
void calcPot_nak_Kolicina(RecordSet& lines);

// --- discounts ---

/// rbi1 := R2(pci * rbp1 / 100)
void calcRabat(RecordSet& lines);
/// rbi1, rbi2, rbi3: successive discounts of rbp1, rbp2, rbp3 percent on pci, each on what the stored ones
/// before it left.
void calcRabat1_2_3(RecordSet& lines);
/// The same cascade on fci; then nfci := fci - (rbi1 + rbi2 + rbi3) + pot_naki, unrounded, with pot_naki as
/// stored.
void calcRabatUlazni1_2_3(RecordSet& lines);

// --- wholesale price from the retail price; raise DivisionByZero at a rate of -100 ---

/// vpc := R2(mpc * 100 / (100 + tbr_stp))
void calcVpc_maloprodaja(RecordSet& lines);
/// vpc := R2((mpc - pov_nak) * 100 / (100 + tbr_stp))
void calcVpc_maloprodaja_pov_nak(RecordSet& lines);

// --- tax on top of a net amount; d is used as passed, a negative one makes MyRound raise ---

/// osnovica := pci - rbi1 - rbi2 - rbi3, unrounded; pdvi := Rd(osnovica * tbr_stp / 100);
/// ukupno := osnovica + pdvi + pov_naki, unrounded
void calcOsnovicaPdviUkupno(RecordSet& lines, int d);

// --- tax contained in a gross amount; d is raised to at least 2, DivisionByZero at a rate of -100 ---

/// pdvi := Rd(mpci * tbr_stp / (tbr_stp + 100))
void calcPDVI_mal(RecordSet& lines, int d);
/// pdvi := Rd((mpci - pov_naki) * tbr_stp / (tbr_stp + 100)): the fee is outside the tax base
void calcPDVI_mal_pov_nak(RecordSet& lines, int d);
/// pdvi := Rd(pci * tbr_stp / (tbr_stp + 100))
void calcPDVI_malPC(RecordSet& lines, int d);
/// pdvi := Rd((pci - pov_naki) * tbr_stp / (tbr_stp + 100))
void calcPDVI_malPC_pov_nak(RecordSet& lines, int d);

// --- margin ---

/// marza := vpci - nci, unrounded
void calcMarza_vpci_nci(RecordSet& lines);
/// mari := vpci - nci, unrounded
void calcMari_vpci_nci(RecordSet& lines);
/// marp := marza / nci * 100, not rounded; with nci 0 it keeps its value
void calcMarpMarzaNci(RecordSet& lines);
/// mari := R2(mpci - pdvi - nci)
void calcMal_Mari(RecordSet& lines);
/// mari := R2(mpci - pov_naki - pdvi - nci)
void calcMal_Mari_pov_naki(RecordSet& lines);
/// marp := mari / nci * 100, not rounded; with nci 0 it keeps its value
void calcMal_Marp(RecordSet& lines);

/// nci := nfci + zti, unrounded; with a quantity other than 0, nc := nci / kolicina rounded to d decimals.
/// Here d counts the decimals of the unit purchase price and is used as passed.
void calc_NC_PrimkaKalkulacija(RecordSet& lines, int d);

}  // namespace mox
