#include "mox/calculations/line_formulas.h"

#include "mox/calculations/line_formulas_internal.h"

namespace mox {
namespace {

// A formula on its own asks for its few fields as it goes.
template <typename Formula>
void Step(RecordSet& lines, const Formula& formula) {
  AnyLine line(lines);
  formula(line);
}

}  // namespace

void calcPci_pc_kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcPci_pc_kolicina(line); });
}
void calcNc_Kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcNc_Kolicina(line); });
}
void calcFC_Kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcFC_Kolicina(line); });
}
void calcVpc_Kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcVpc_Kolicina(line); });
}
void calcMPC_Kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcMPC_Kolicina(line); });
}
void calcNMPC_Kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcNMPC_Kolicina(line); });
}
void calcPov_nak_Kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcPov_nak_Kolicina(line); });
}
void calcPot_nak_Kolicina(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcPot_nak_Kolicina(line); });
}
void calcRabat(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcRabat(line); });
}
void calcRabat1_2_3(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcRabat1_2_3(line); });
}
void calcRabatUlazni1_2_3(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcRabatUlazni1_2_3(line); });
}
void calcVpc_maloprodaja(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcVpc_maloprodaja(line); });
}
void calcVpc_maloprodaja_pov_nak(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcVpc_maloprodaja_pov_nak(line); });
}
void calcOsnovicaPdviUkupno(RecordSet& lines, int d) {
  Step(lines, [d](auto& line) { formulas::calcOsnovicaPdviUkupno(line, d); });
}
void calcPDVI_mal(RecordSet& lines, int d) {
  Step(lines, [d](auto& line) { formulas::calcPDVI_mal(line, d); });
}
void calcPDVI_mal_pov_nak(RecordSet& lines, int d) {
  Step(lines, [d](auto& line) { formulas::calcPDVI_mal_pov_nak(line, d); });
}
void calcPDVI_malPC(RecordSet& lines, int d) {
  Step(lines, [d](auto& line) { formulas::calcPDVI_malPC(line, d); });
}
void calcPDVI_malPC_pov_nak(RecordSet& lines, int d) {
  Step(lines, [d](auto& line) { formulas::calcPDVI_malPC_pov_nak(line, d); });
}
void calcMarza_vpci_nci(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcMarza_vpci_nci(line); });
}
void calcMari_vpci_nci(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcMari_vpci_nci(line); });
}
void calcMarpMarzaNci(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcMarpMarzaNci(line); });
}
void calcMal_Mari(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcMal_Mari(line); });
}
void calcMal_Mari_pov_naki(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcMal_Mari_pov_naki(line); });
}
void calcMal_Marp(RecordSet& lines) {
  Step(lines, [](auto& line) { formulas::calcMal_Marp(line); });
}
void calc_NC_PrimkaKalkulacija(RecordSet& lines, int d) {
  Step(lines, [d](auto& line) { formulas::calc_NC_PrimkaKalkulacija(line, d); });
}

}  // namespace mox
