#include "mox/calculations/line_formulas.h"

#include "mox/calculations/line_formulas_internal.h"

namespace mox {

void calcPci_pc_kolicina(RecordSet& lines) { formulas::calcPci_pc_kolicina(lines); }
void calcNc_Kolicina(RecordSet& lines) { formulas::calcNc_Kolicina(lines); }
void calcFC_Kolicina(RecordSet& lines) { formulas::calcFC_Kolicina(lines); }
void calcVpc_Kolicina(RecordSet& lines) { formulas::calcVpc_Kolicina(lines); }
void calcMPC_Kolicina(RecordSet& lines) { formulas::calcMPC_Kolicina(lines); }
void calcNMPC_Kolicina(RecordSet& lines) { formulas::calcNMPC_Kolicina(lines); }
void calcPov_nak_Kolicina(RecordSet& lines) { formulas::calcPov_nak_Kolicina(lines); }
void calcPot_nak_Kolicina(RecordSet& lines) { formulas::calcPot_nak_Kolicina(lines); }
void calcRabat(RecordSet& lines) { formulas::calcRabat(lines); }
void calcRabat1_2_3(RecordSet& lines) { formulas::calcRabat1_2_3(lines); }
void calcRabatUlazni1_2_3(RecordSet& lines) { formulas::calcRabatUlazni1_2_3(lines); }
void calcVpc_maloprodaja(RecordSet& lines) { formulas::calcVpc_maloprodaja(lines); }
void calcVpc_maloprodaja_pov_nak(RecordSet& lines) { formulas::calcVpc_maloprodaja_pov_nak(lines); }
void calcOsnovicaPdviUkupno(RecordSet& lines, int d) { formulas::calcOsnovicaPdviUkupno(lines, d); }
void calcPDVI_mal(RecordSet& lines, int d) { formulas::calcPDVI_mal(lines, d); }
void calcPDVI_mal_pov_nak(RecordSet& lines, int d) { formulas::calcPDVI_mal_pov_nak(lines, d); }
void calcPDVI_malPC(RecordSet& lines, int d) { formulas::calcPDVI_malPC(lines, d); }
void calcPDVI_malPC_pov_nak(RecordSet& lines, int d) { formulas::calcPDVI_malPC_pov_nak(lines, d); }
void calcMarza_vpci_nci(RecordSet& lines) { formulas::calcMarza_vpci_nci(lines); }
void calcMari_vpci_nci(RecordSet& lines) { formulas::calcMari_vpci_nci(lines); }
void calcMarpMarzaNci(RecordSet& lines) { formulas::calcMarpMarzaNci(lines); }
void calcMal_Mari(RecordSet& lines) { formulas::calcMal_Mari(lines); }
void calcMal_Mari_pov_naki(RecordSet& lines) { formulas::calcMal_Mari_pov_naki(lines); }
void calcMal_Marp(RecordSet& lines) { formulas::calcMal_Marp(lines); }
void calc_NC_PrimkaKalkulacija(RecordSet& lines, int d) { formulas::calc_NC_PrimkaKalkulacija(lines, d); }

}  // namespace mox
