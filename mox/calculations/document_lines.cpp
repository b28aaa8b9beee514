#include "mox/calculations/document_lines.h"

#include "mox/calculations/line_formulas.h"
#include "mox/calculations/line_formulas_internal.h"
#include "mox/calculations/receipt_costing.h"
#include "mox/foundation/precision.h"

namespace mox {

using namespace field;

namespace {

// --- steps that several documents share ---

void PurchaseWholesaleMargin(RecordSet& lines) {
  calcNc_Kolicina(lines);
  calcVpc_Kolicina(lines);
  calcMarza_vpci_nci(lines);
}

void GoodsPricedNet(RecordSet& lines, int d) {
  calcPov_nak_Kolicina(lines);
  calcVpc_Kolicina(lines);
  calcPci_pc_kolicina(lines);
  calcRabat1_2_3(lines);
  calcOsnovicaPdviUkupno(lines, AtLeast2(d));
}

void ServicesPricedNet(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcRabat1_2_3(lines);
  calcOsnovicaPdviUkupnoBezPovNak(lines, AtLeast2(d));
}

void ServicesWithOneDiscount(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcRabat(lines);
  lines.Set(osnovica, lines[pci] - lines[rbi1]);
  lines.Set(pdvi, Round(lines[osnovica] * lines[tbr_stp] / 100, AtLeast2(d)));
  lines.Set(ukupno, lines[osnovica] + lines[pdvi]);
}

// Difference, tax and total of a return to the supplier.
void ReturnDifference(RecordSet& lines) { lines.Set(razlika, lines[nci] - lines[zti] - lines[nfci]); }

void ReturnTaxAndTotal(RecordSet& lines, int d) {
  lines.Set(pdvi, Round(lines[nfci] * lines[tbr_stp] / 100, AtLeast2(d)));
  lines.Set(ukupno, lines[nfci] + lines[pdvi] + lines[pov_naki]);
}

Currency NetAfterDiscounts(const RecordSet& lines) {
  return lines[pci] - lines[rbi1] - lines[rbi2] - lines[rbi3];
}

Amount WithTax(Amount net, Real rate) { return net + net * rate / 100; }

// The third discount absorbs what the rounding of the gross unit price moved in the base.
void BalanceThirdDiscount(RecordSet& lines, Currency net) {
  lines.Set(rbi3, lines[rbi3] + (net - lines[osnovica]));
  lines.Set(rabatIznos, lines[rbi1] + lines[rbi2] + lines[rbi3]);
}

// Total from the rounded gross unit price, and the tax and base that follow from it, without a fee.
void TotalTaxBaseFromGross(RecordSet& lines, int d) {
  lines.Set(ukupno, R2(lines[mpc] * lines[kolicina]));
  lines.Set(pdvi, Round(ContainedTax(lines[ukupno], lines[tbr_stp]), AtLeast2(d)));
  lines.Set(osnovica, lines[ukupno] - lines[pdvi]);
}

}  // namespace

// --- stock ---

void MalPrimkaZaduzenjeStavkeCalcFields(RecordSet& lines) { PurchaseWholesaleMargin(lines); }
void RazduzenjeOtpisStavkeCalcFields(RecordSet& lines) { PurchaseWholesaleMargin(lines); }
void MeduskladisnicaUlazSetData(RecordSet& lines) { PurchaseWholesaleMargin(lines); }
void MeduskladisnicaIzlazStavkeCalcFields(RecordSet& lines) { PurchaseWholesaleMargin(lines); }
void PocetnoStanjeStavkeCalcFields(RecordSet& lines) { PurchaseWholesaleMargin(lines); }

void RazduzenjeManjakStavkeCalcFields(RecordSet& lines, int d) {
  PurchaseWholesaleMargin(lines);
  calcPov_nak_Kolicina(lines);
  lines.Set(pdvi, Round(lines[vpci] * lines[tbr_stp] / 100, AtLeast2(d)));
  lines.Set(ukupno, lines[vpci] + lines[pdvi] + lines[pov_naki]);
}

void IzmjenaCijenaStavkeCalcFields(RecordSet& lines) {
  calcVpc_Kolicina(lines);
  lines.Set(nvpci, R2(lines[nvpc] * lines[kolicina]));
  lines.Set(razlika, R2(lines[nvpci] - lines[vpci]));
}

// --- returns and own use ---

void PovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d) {
  calcNc_Kolicina(lines);
  calcFC_Kolicina(lines);
  calcPov_nak_Kolicina(lines);
  calcPot_nak_Kolicina(lines);
  calcRabatUlazni1_2_3(lines);
  calcVpc_Kolicina(lines);
  ReturnDifference(lines);
  calcMari_vpci_nci(lines);
  SetMarginPercent(lines, marp, lines[mari], lines[vpci]);
  ReturnTaxAndTotal(lines, d);
}

void MalPovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d) {
  calcPov_nak_Kolicina(lines);
  calcPot_nak_Kolicina(lines);
  calcNc_Kolicina(lines);
  calcFC_Kolicina(lines);
  calcRabatUlazni1_2_3(lines);
  ReturnDifference(lines);
  calcVpc_maloprodaja(lines);
  calcVpc_Kolicina(lines);
  calcMPC_Kolicina(lines);
  calcPDVI_mal_pov_nak(lines, d);
  calcMal_Mari_pov_naki(lines);
  calcMal_Marp(lines);
  lines.Set(pdvi_dob, R2(lines[nfci] * lines[tbr_stp] / 100));
  lines.Set(uk_dob, R2(lines[nfci] + lines[pdvi_dob] + lines[pov_naki]));
}

void MatPovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d) {
  calcNc_Kolicina(lines);
  calcFC_Kolicina(lines);
  calcRabatUlazni1_2_3(lines);  // before pot_naki: nfci takes the fee of the pass before
  calcPov_nak_Kolicina(lines);
  calcPot_nak_Kolicina(lines);
  ReturnDifference(lines);
  ReturnTaxAndTotal(lines, d);
}

void PovratnicaKupcaStavkeCalcFields(RecordSet& lines, int d) {
  calcVpc_Kolicina(lines);
  calcPci_pc_kolicina(lines);
  lines.Set(osnovica, lines[pci]);
  lines.Set(pdvi, Round(lines[osnovica] * lines[tbr_stp] / 100, AtLeast2(d)));
  lines.Set(ukupno, lines[osnovica] + lines[pdvi]);
}

void RacunVlastitePotrebeStavkeCalcFields(RecordSet& lines, int d) {
  if (lines[kolicina] == 0) return;
  calcNc_Kolicina(lines);
  calcPov_nak_Kolicina(lines);
  lines.Set(pdvi, Round(lines[nci] * lines[tbr_stp] / 100, AtLeast2(d)));
  lines.Set(ukupno, R2(lines[pdvi] + lines[nci] + lines[pov_naki]));
  lines.Set(osnovica, lines[ukupno] - lines[pdvi] - lines[pov_naki]);
}

// --- net-priced invoices ---

void PredracunStavkeCalcFields(RecordSet& lines, int d) { GoodsPricedNet(lines, d); }
void PredracunUslugeCalcFields(RecordSet& lines, int d) { ServicesPricedNet(lines, d); }
void OtpremnicaRacunStavkeCalcFields(RecordSet& lines, int d) { GoodsPricedNet(lines, d); }
void OtpremnicaRacunUslugeCalcFields(RecordSet& lines, int d) { ServicesPricedNet(lines, d); }
void StornoOtpremnicaRacunStavkeCalcFields(RecordSet& lines, int d) { GoodsPricedNet(lines, d); }
void StornoOtpremnicaRacunUslugeCalcFields(RecordSet& lines, int d) { ServicesPricedNet(lines, d); }

void RacunUslugaCalcFields(RecordSet& lines, int d) { ServicesWithOneDiscount(lines, d); }
void RacunUslugaInozemstvoCalcFields(RecordSet& lines, int d) { ServicesWithOneDiscount(lines, d); }

// The base of a service job is rounded to hundredths.
static void ServiceJobBaseTaxTotal(RecordSet& lines, int d) {
  lines.Set(osnovica, R2(lines[pci] - lines[rbi1]));
  lines.Set(pdvi, Round(lines[osnovica] * lines[tbr_stp] / 100, AtLeast2(d)));
  lines.Set(ukupno, lines[osnovica] + lines[pdvi]);
}

void BezGotovinskiRacunServisUslugeCalcFields(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcVpc_Kolicina(lines);
  calcMPC_Kolicina(lines);
  calcRabat(lines);
  ServiceJobBaseTaxTotal(lines, d);
}

void BezGotovinskiRacunServisMaterijalCalcFields(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcVpc_Kolicina(lines);
  calcRabat(lines);
  calcMPC_Kolicina(lines);
  ServiceJobBaseTaxTotal(lines, d);
}

// --- cash invoices ---

void GotovinskiRacunStavkeCalcFields(RecordSet& lines, int d) {
  if (lines[kolicina] == 0) return;
  calcPci_pc_kolicina(lines);
  calcRabat1_2_3(lines);
  calcPov_nak_Kolicina(lines);
  const Currency net = NetAfterDiscounts(lines);
  lines.Set(mpc, Round((WithTax(net, lines[tbr_stp]) + lines[pov_naki]) / lines[kolicina], GetPcCalcDigit()));
  lines.Set(ukupno, R2(lines[mpc] * lines[kolicina]));
  lines.Set(pdvi, Round(ContainedTax(lines[ukupno] - lines[pov_naki], lines[tbr_stp]), AtLeast2(d)));
  lines.Set(osnovica, lines[ukupno] - lines[pdvi] - lines[pov_naki]);
  BalanceThirdDiscount(lines, net);
  calcMPC_Kolicina(lines);
}

void GotovinskiRacunUslugeCalcFields(RecordSet& lines, int d) {
  if (lines[kolicina] == 0) return;
  calcPci_pc_kolicina(lines);
  calcRabat1_2_3(lines);
  const Currency net = NetAfterDiscounts(lines);
  lines.Set(mpc, R2(WithTax(net, lines[tbr_stp]) / lines[kolicina]));
  calcMPC_Kolicina(lines);
  TotalTaxBaseFromGross(lines, d);
  BalanceThirdDiscount(lines, net);
}

void StornoGotovinskiRacunStavkeCalcFields(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcRabat1_2_3(lines);
  const Currency net = NetAfterDiscounts(lines);
  lines.Set(mpc, R2(WithTax(net, lines[tbr_stp]) / lines[kolicina]));
  TotalTaxBaseFromGross(lines, d);
  BalanceThirdDiscount(lines, net);
}

void GotovinskiRacunUslugaCalcFields(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcMPC_Kolicina(lines);
  lines.Set(rbi1, R2(lines[mpci] * lines[rbp1] / 100));
  lines.Set(ukupno, lines[mpci] - lines[rbi1]);
  lines.Set(pdvi, Round(ContainedTax(lines[ukupno], lines[tbr_stp]), AtLeast2(d)));
  lines.Set(vpci, lines[ukupno] - lines[pdvi]);
  if (lines[kolicina] != 0) lines.Set(vpc, R2(lines[vpci] / lines[kolicina]));
}

void GotovinskiRacunUslugaMarinaCalcFields(RecordSet& lines, int d) {
  GotovinskiRacunUslugaCalcFields(lines, d);
  lines.Set(mpci_v, R2(lines[mpcv] * lines[kolicina]));
  lines.Set(rbi1_v, R2(lines[mpci_v] * lines[rbp1] / 100));
  lines.Set(ukupno_v, lines[mpci_v] - lines[rbi1_v]);
  lines.Set(pdvi_v, R2(ContainedTax(lines[ukupno_v], lines[tbr_stp])));
  lines.Set(vpci_v, lines[ukupno_v] - lines[pdvi_v]);
}

void GotovinskiRacunServisUslugeCalcFields(RecordSet& lines, int d) {
  calcMPC_Kolicina(lines);
  lines.Set(pc, R2(WithoutTax(lines[mpc], lines[tbr_stp])));
  calcPci_pc_kolicina(lines);
  calcVpc_Kolicina(lines);
  lines.Set(ukupno, R2(lines[mpc] * lines[kolicina]));
  calcPDVI_mal(lines, d);
}

void GotovinskiRacunServisMaterijalCalcFields(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcVpc_Kolicina(lines);
  calcRabat(lines);
  const Currency net = lines[pci] - lines[rbi1];
  if (lines[kolicina] != 0) lines.Set(mpc, R2(WithTax(net, lines[tbr_stp]) / lines[kolicina]));
  calcMPC_Kolicina(lines);
  lines.Set(ukupno, R2(lines[mpc] * lines[kolicina]));
  lines.Set(osnovica, lines[ukupno] - lines[pdvi]);  // with the tax of the pass before
  lines.Set(rbi1, lines[rbi1] + (net - lines[osnovica]));
  calcPDVI_mal(lines, d);
}

void MalGotovinskiRacunCalcFields(RecordSet& lines, int d) {
  calcPov_nak_Kolicina(lines);
  calcMPC_Kolicina(lines);
  lines.Set(pc, R2(lines[mpc] * (1 - lines[popust] / 100)));
  calcPci_pc_kolicina(lines);
  lines.Set(popust_iznos, lines[mpci] - lines[pci]);
  calcPDVI_malPC_pov_nak(lines, d);
}

void MalGotovinskiRacunCalcUsluge(RecordSet& lines, int d) {
  calcMPC_Kolicina(lines);
  calcPDVI_mal(lines, d);
  lines.Set(ukupno, lines[mpci]);
  calcVpc_maloprodaja(lines);
  calcVpc_Kolicina(lines);
  calcPci_pc_kolicina(lines);
}

// --- the rest ---

void RadniNalogStavkeCalcFields(RecordSet& lines, int d) {
  calcVpc_Kolicina(lines);
  lines.Set(mpc, R2(lines[vpc] * (1 + lines[tbr_stp] / 100)));
  calcMPC_Kolicina(lines);
  lines.Set(pdvi, Round(ContainedTax(lines[mpci], lines[tbr_stp]), d));
}

void RadniNalogUslugeCalcFields(RecordSet& lines, int d) {
  calcPci_pc_kolicina(lines);
  calcRabat(lines);
  lines.Set(pci_int, R2(lines[pc_int] * lines[kolicina]));
  lines.Set(normativ_izn, R2(Amount::OfUnits(lines[normativ] * lines[kolicina])));
  lines.Set(mpc, R2((lines[pci] - lines[rbi1]) / lines[kolicina] * (1 + lines[tbr_stp] / 100)));
  calcMPC_Kolicina(lines);
  lines.Set(pdvi, Round(ContainedTax(lines[mpci], lines[tbr_stp]), d));
}

void MalDnevniIzvBlagCalcFields(RecordSet& lines, int d) {
  lines.Set(pdviroba, Round(lines[osnovicaroba] * lines[tbr_stp] / 100, AtLeast2(d)));
  lines.Set(pdviusluge, Round(lines[osnovicausluge] * lines[tbr_stp] / 100, AtLeast2(d)));
}

void PrimkaKalkulacija01CalcFields(RecordSet& lines) {
  calcFC_Kolicina(lines);
  calcPov_nak_Kolicina(lines);
  calcPot_nak_Kolicina(lines);
  calcRabatUlazni1_2_3(lines);
}

void StornoPrimkeKalkulacijeCalcFields(RecordSet& lines, int purchase_price_decimals, int wholesale_digits) {
  constexpr int kMarginFromPrice = 1;
  calcFC_Kolicina(lines);
  calcRabatUlazni1_2_3(lines);
  calc_NC_PrimkaKalkulacija(lines, purchase_price_decimals);
  CalcVPC_Marza_PrimkaKalkulacija(lines, kMarginFromPrice, wholesale_digits);
}

}  // namespace mox
