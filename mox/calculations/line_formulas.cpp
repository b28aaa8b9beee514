#include "mox/calculations/line_formulas.h"

#include "mox/calculations/line_formulas_internal.h"

namespace mox {

using namespace field;

void calcPci_pc_kolicina(RecordSet& lines) { lines.Set(pci, R2(lines[pc] * lines[kolicina])); }
void calcNc_Kolicina(RecordSet& lines) { lines.Set(nci, R2(lines[nc] * lines[kolicina])); }
void calcFC_Kolicina(RecordSet& lines) { lines.Set(fci, R2(lines[fc] * lines[kolicina])); }
void calcVpc_Kolicina(RecordSet& lines) { lines.Set(vpci, R2(lines[vpc] * lines[kolicina])); }
void calcMPC_Kolicina(RecordSet& lines) { lines.Set(mpci, R2(lines[mpc] * lines[kolicina])); }
void calcNMPC_Kolicina(RecordSet& lines) { lines.Set(nmpci, R2(lines[nmpc] * lines[kolicina])); }
void calcPov_nak_Kolicina(RecordSet& lines) { lines.Set(pov_naki, R2(lines[pov_nak] * lines[kolicina])); }
void calcPot_nak_Kolicina(RecordSet& lines) { lines.Set(pot_naki, R2(lines[pot_nak] * lines[kolicina])); }

void calcRabat(RecordSet& lines) { lines.Set(rbi1, R2(lines[pci] * lines[rbp1] / 100)); }

// Each discount on what the stored ones before it left of the amount.
static void DiscountCascade(RecordSet& lines, CurrencyName amount) {
  lines.Set(rbi1, R2(lines[amount] * lines[rbp1] / 100));
  lines.Set(rbi2, R2((lines[amount] - lines[rbi1]) * lines[rbp2] / 100));
  lines.Set(rbi3, R2((lines[amount] - lines[rbi1] - lines[rbi2]) * lines[rbp3] / 100));
}

void calcRabat1_2_3(RecordSet& lines) { DiscountCascade(lines, pci); }

void calcRabatUlazni1_2_3(RecordSet& lines) {
  DiscountCascade(lines, fci);
  lines.Set(nfci, lines[fci] - (lines[rbi1] + lines[rbi2] + lines[rbi3]) + lines[pot_naki]);
}

void calcVpc_maloprodaja(RecordSet& lines) { lines.Set(vpc, R2(WithoutTax(lines[mpc], lines[tbr_stp]))); }

void calcVpc_maloprodaja_pov_nak(RecordSet& lines) {
  lines.Set(vpc, R2(WithoutTax(lines[mpc] - lines[pov_nak], lines[tbr_stp])));
}

void calcOsnovicaPdviUkupnoBezPovNak(RecordSet& lines, int d) {
  lines.Set(osnovica, lines[pci] - lines[rbi1] - lines[rbi2] - lines[rbi3]);
  lines.Set(pdvi, Round(lines[osnovica] * lines[tbr_stp] / 100, d));
  lines.Set(ukupno, lines[osnovica] + lines[pdvi]);
}

void calcOsnovicaPdviUkupno(RecordSet& lines, int d) {
  lines.Set(osnovica, lines[pci] - lines[rbi1] - lines[rbi2] - lines[rbi3]);
  lines.Set(pdvi, Round(lines[osnovica] * lines[tbr_stp] / 100, d));
  lines.Set(ukupno, lines[osnovica] + lines[pdvi] + lines[pov_naki]);
}

void calcPDVI_mal(RecordSet& lines, int d) {
  lines.Set(pdvi, Round(ContainedTax(lines[mpci], lines[tbr_stp]), AtLeast2(d)));
}

void calcPDVI_mal_pov_nak(RecordSet& lines, int d) {
  lines.Set(pdvi, Round(ContainedTax(lines[mpci] - lines[pov_naki], lines[tbr_stp]), AtLeast2(d)));
}

void calcPDVI_malPC(RecordSet& lines, int d) {
  lines.Set(pdvi, Round(ContainedTax(lines[pci], lines[tbr_stp]), AtLeast2(d)));
}

void calcPDVI_malPC_pov_nak(RecordSet& lines, int d) {
  lines.Set(pdvi, Round(ContainedTax(lines[pci] - lines[pov_naki], lines[tbr_stp]), AtLeast2(d)));
}

void calcMarza_vpci_nci(RecordSet& lines) { lines.Set(marza, lines[vpci] - lines[nci]); }
void calcMari_vpci_nci(RecordSet& lines) { lines.Set(mari, lines[vpci] - lines[nci]); }
void calcMarpMarzaNci(RecordSet& lines) { SetMarginPercent(lines, marp, lines[marza], lines[nci]); }

void calcMal_Mari(RecordSet& lines) { lines.Set(mari, R2(lines[mpci] - lines[pdvi] - lines[nci])); }

void calcMal_Mari_pov_naki(RecordSet& lines) {
  lines.Set(mari, R2(lines[mpci] - lines[pov_naki] - lines[pdvi] - lines[nci]));
}

void calcMal_Marp(RecordSet& lines) { SetMarginPercent(lines, marp, lines[mari], lines[nci]); }

void calc_NC_PrimkaKalkulacija(RecordSet& lines, int d) {
  lines.Set(nci, lines[nfci] + lines[zti]);
  if (lines[kolicina] != 0) lines.Set(nc, Round(lines[nci] / lines[kolicina], d));
}

}  // namespace mox
