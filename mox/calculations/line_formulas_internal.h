#pragma once

#include "mox/foundation/line_view.h"
#include "mox/foundation/rounding.h"

// The line formulas as steps over any kind of line: a record set, which asks at each step whether the field
// is there and may be written, or a view of a line that is known to have them all. What each one does stands
// at its public name.

#pragma GCC visibility push(hidden)

namespace mox::formulas {

using namespace field;

/// The tax contained in a gross amount.
MOX_ALWAYS_INLINE auto ContainedTax(auto gross, auto rate) { return gross * rate / (rate + 100); }

/// A net amount of a gross one.
MOX_ALWAYS_INLINE auto WithoutTax(auto gross, auto rate) { return gross * 100 / (rate + 100); }

/// percent := margin / base * 100, not rounded; with a base of 0 it keeps its value.
MOX_ALWAYS_INLINE void SetMarginPercent(auto& line, FloatName percent, Currency margin, Currency base) {
  if (!base.IsZero()) line.Set(percent, Amount(margin) / base * 100);
}

MOX_ALWAYS_INLINE void calcPci_pc_kolicina(auto& line) { line.Set(pci, R2(line[pc] * line[kolicina])); }
MOX_ALWAYS_INLINE void calcNc_Kolicina(auto& line) { line.Set(nci, R2(line[nc] * line[kolicina])); }
MOX_ALWAYS_INLINE void calcFC_Kolicina(auto& line) { line.Set(fci, R2(line[fc] * line[kolicina])); }
MOX_ALWAYS_INLINE void calcVpc_Kolicina(auto& line) { line.Set(vpci, R2(line[vpc] * line[kolicina])); }
MOX_ALWAYS_INLINE void calcMPC_Kolicina(auto& line) { line.Set(mpci, R2(line[mpc] * line[kolicina])); }
MOX_ALWAYS_INLINE void calcNMPC_Kolicina(auto& line) { line.Set(nmpci, R2(line[nmpc] * line[kolicina])); }
MOX_ALWAYS_INLINE void calcPov_nak_Kolicina(auto& line) {
  line.Set(pov_naki, R2(line[pov_nak] * line[kolicina]));
}
MOX_ALWAYS_INLINE void calcPot_nak_Kolicina(auto& line) {
  line.Set(pot_naki, R2(line[pot_nak] * line[kolicina]));
}

MOX_ALWAYS_INLINE void calcRabat(auto& line) { line.Set(rbi1, R2(line[pci] * line[rbp1] / 100)); }

/// Each discount on what the stored ones before it left of the amount.
MOX_ALWAYS_INLINE void DiscountCascade(auto& line, CurrencyName amount) {
  line.Set(rbi1, R2(line[amount] * line[rbp1] / 100));
  line.Set(rbi2, R2((line[amount] - line[rbi1]) * line[rbp2] / 100));
  line.Set(rbi3, R2((line[amount] - line[rbi1] - line[rbi2]) * line[rbp3] / 100));
}

MOX_ALWAYS_INLINE void calcRabat1_2_3(auto& line) { DiscountCascade(line, pci); }

MOX_ALWAYS_INLINE void calcRabatUlazni1_2_3(auto& line) {
  DiscountCascade(line, fci);
  line.Set(nfci, line[fci] - (line[rbi1] + line[rbi2] + line[rbi3]) + line[pot_naki]);
}

MOX_ALWAYS_INLINE void calcVpc_maloprodaja(auto& line) {
  line.Set(vpc, R2(WithoutTax(line[mpc], line[tbr_stp])));
}

MOX_ALWAYS_INLINE void calcVpc_maloprodaja_pov_nak(auto& line) {
  line.Set(vpc, R2(WithoutTax(line[mpc] - line[pov_nak], line[tbr_stp])));
}

/// calcOsnovicaPdviUkupno for lines without a fee: ukupno := osnovica + pdvi.
MOX_ALWAYS_INLINE void calcOsnovicaPdviUkupnoBezPovNak(auto& line, int d) {
  line.Set(osnovica, line[pci] - line[rbi1] - line[rbi2] - line[rbi3]);
  line.Set(pdvi, Round(line[osnovica] * line[tbr_stp] / 100, d));
  line.Set(ukupno, line[osnovica] + line[pdvi]);
}

MOX_ALWAYS_INLINE void calcOsnovicaPdviUkupno(auto& line, int d) {
  line.Set(osnovica, line[pci] - line[rbi1] - line[rbi2] - line[rbi3]);
  line.Set(pdvi, Round(line[osnovica] * line[tbr_stp] / 100, d));
  line.Set(ukupno, line[osnovica] + line[pdvi] + line[pov_naki]);
}

MOX_ALWAYS_INLINE void calcPDVI_mal(auto& line, int d) {
  line.Set(pdvi, Round(ContainedTax(line[mpci], line[tbr_stp]), AtLeast2(d)));
}

MOX_ALWAYS_INLINE void calcPDVI_mal_pov_nak(auto& line, int d) {
  line.Set(pdvi, Round(ContainedTax(line[mpci] - line[pov_naki], line[tbr_stp]), AtLeast2(d)));
}

MOX_ALWAYS_INLINE void calcPDVI_malPC(auto& line, int d) {
  line.Set(pdvi, Round(ContainedTax(line[pci], line[tbr_stp]), AtLeast2(d)));
}

MOX_ALWAYS_INLINE void calcPDVI_malPC_pov_nak(auto& line, int d) {
  line.Set(pdvi, Round(ContainedTax(line[pci] - line[pov_naki], line[tbr_stp]), AtLeast2(d)));
}

MOX_ALWAYS_INLINE void calcMarza_vpci_nci(auto& line) { line.Set(marza, line[vpci] - line[nci]); }
MOX_ALWAYS_INLINE void calcMari_vpci_nci(auto& line) { line.Set(mari, line[vpci] - line[nci]); }
MOX_ALWAYS_INLINE void calcMarpMarzaNci(auto& line) { SetMarginPercent(line, marp, line[marza], line[nci]); }

MOX_ALWAYS_INLINE void calcMal_Mari(auto& line) { line.Set(mari, R2(line[mpci] - line[pdvi] - line[nci])); }

MOX_ALWAYS_INLINE void calcMal_Mari_pov_naki(auto& line) {
  line.Set(mari, R2(line[mpci] - line[pov_naki] - line[pdvi] - line[nci]));
}

MOX_ALWAYS_INLINE void calcMal_Marp(auto& line) { SetMarginPercent(line, marp, line[mari], line[nci]); }

MOX_ALWAYS_INLINE void calc_NC_PrimkaKalkulacija(auto& line, int d) {
  line.Set(nci, line[nfci] + line[zti]);
  if (line[kolicina] != 0) line.Set(nc, Round(line[nci] / line[kolicina], d));
}

}  // namespace mox::formulas

#pragma GCC visibility pop
