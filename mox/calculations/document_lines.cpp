#include "mox/calculations/document_lines.h"

#include "mox/calculations/line_formulas_internal.h"
#include "mox/calculations/receipt_costing.h"
#include "mox/foundation/precision.h"

namespace mox {

using namespace formulas;

namespace {

// --- steps that several documents share ---

MOX_ALWAYS_INLINE void PurchaseWholesaleMargin(auto& line) {
  calcNc_Kolicina(line);
  calcVpc_Kolicina(line);
  calcMarza_vpci_nci(line);
}

MOX_ALWAYS_INLINE auto TaxOn(auto net, auto rate) { return net * rate / 100; }

MOX_ALWAYS_INLINE void ReturnDifference(auto& line) { line.Set(razlika, line[nci] - line[zti] - line[nfci]); }

// Tax and total of a return to the supplier.
MOX_ALWAYS_INLINE void ReturnTaxAndTotal(auto& line, int d) {
  line.Set(pdvi, Round(TaxOn(line[nfci], line[tbr_stp]), d));
  line.Set(ukupno, line[nfci] + line[pdvi] + line[pov_naki]);
}

// Tax on the base, and the total without a fee.
MOX_ALWAYS_INLINE void TaxAndTotal(auto& line, int d) {
  line.Set(pdvi, Round(TaxOn(line[osnovica], line[tbr_stp]), d));
  line.Set(ukupno, line[osnovica] + line[pdvi]);
}

MOX_ALWAYS_INLINE Currency NetAfterDiscounts(auto& line) {
  return line[pci] - line[rbi1] - line[rbi2] - line[rbi3];
}

MOX_ALWAYS_INLINE auto WithTax(auto net, auto rate) { return net + TaxOn(net, rate); }

// Total from the rounded gross unit price, and the tax and base that follow from it, without a fee.
MOX_ALWAYS_INLINE void TotalTaxBaseFromGross(auto& line, int d) {
  line.Set(ukupno, R2(line[mpc] * line[kolicina]));
  line.Set(pdvi, Round(ContainedTax(line[ukupno], line[tbr_stp]), d));
  line.Set(osnovica, line[ukupno] - line[pdvi]);
}

// The third discount absorbs what the rounding of the gross unit price moved in the base.
MOX_ALWAYS_INLINE void BalanceThirdDiscount(auto& line, Currency net) {
  line.Set(rbi3, line[rbi3] + (net - line[osnovica]));
  line.Set(rabatIznos, line[rbi1] + line[rbi2] + line[rbi3]);
}

// Services whose price includes the tax, with a discount on the gross amount.
MOX_ALWAYS_INLINE void ServicesPricedGross(auto& line, int d) {
  calcPci_pc_kolicina(line);
  calcMPC_Kolicina(line);
  line.Set(rbi1, R2(line[mpci] * line[rbp1] / 100));
  line.Set(ukupno, line[mpci] - line[rbi1]);
  line.Set(pdvi, Round(ContainedTax(line[ukupno], line[tbr_stp]), d));
  line.Set(vpci, line[ukupno] - line[pdvi]);
  if (line[kolicina] != 0) line.Set(vpc, R2(line[vpci] / line[kolicina]));
}

// --- whole calculators that several documents share ---

void CalculateStock(RecordSet& lines) {
  Calculate(lines, [](auto& line) { PurchaseWholesaleMargin(line); });
}

void CalculateGoodsPricedNet(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPov_nak_Kolicina(line);
    calcVpc_Kolicina(line);
    calcPci_pc_kolicina(line);
    calcRabat1_2_3(line);
    calcOsnovicaPdviUkupno(line, d);
  });
}

void CalculateServicesPricedNet(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPci_pc_kolicina(line);
    calcRabat1_2_3(line);
    calcOsnovicaPdviUkupnoBezPovNak(line, d);
  });
}

void CalculateServicesWithOneDiscount(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPci_pc_kolicina(line);
    calcRabat(line);
    line.Set(osnovica, line[pci] - line[rbi1]);
    TaxAndTotal(line, d);
  });
}

}  // namespace

// --- stock ---

void MalPrimkaZaduzenjeStavkeCalcFields(RecordSet& lines) { CalculateStock(lines); }
void RazduzenjeOtpisStavkeCalcFields(RecordSet& lines) { CalculateStock(lines); }
void MeduskladisnicaUlazSetData(RecordSet& lines) { CalculateStock(lines); }
void MeduskladisnicaIzlazStavkeCalcFields(RecordSet& lines) { CalculateStock(lines); }
void PocetnoStanjeStavkeCalcFields(RecordSet& lines) { CalculateStock(lines); }

void RazduzenjeManjakStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    PurchaseWholesaleMargin(line);
    calcPov_nak_Kolicina(line);
    line.Set(pdvi, Round(TaxOn(line[vpci], line[tbr_stp]), d));
    line.Set(ukupno, line[vpci] + line[pdvi] + line[pov_naki]);
  });
}

void IzmjenaCijenaStavkeCalcFields(RecordSet& lines) {
  Calculate(lines, [](auto& line) {
    calcVpc_Kolicina(line);
    line.Set(nvpci, R2(line[nvpc] * line[kolicina]));
    line.Set(razlika, R2(line[nvpci] - line[vpci]));
  });
}

// --- returns and own use ---

void PovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcNc_Kolicina(line);
    calcFC_Kolicina(line);
    calcPov_nak_Kolicina(line);
    calcPot_nak_Kolicina(line);
    calcRabatUlazni1_2_3(line);
    calcVpc_Kolicina(line);
    ReturnDifference(line);
    calcMari_vpci_nci(line);
    SetMarginPercent(line, marp, line[mari], line[vpci]);
    ReturnTaxAndTotal(line, d);
  });
}

void MalPovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPov_nak_Kolicina(line);
    calcPot_nak_Kolicina(line);
    calcNc_Kolicina(line);
    calcFC_Kolicina(line);
    calcRabatUlazni1_2_3(line);
    ReturnDifference(line);
    calcVpc_maloprodaja(line);
    calcVpc_Kolicina(line);
    calcMPC_Kolicina(line);
    calcPDVI_mal_pov_nak(line, d);
    calcMal_Mari_pov_naki(line);
    calcMal_Marp(line);
    line.Set(pdvi_dob, R2(TaxOn(line[nfci], line[tbr_stp])));
    line.Set(uk_dob, R2(line[nfci] + line[pdvi_dob] + line[pov_naki]));
  });
}

void MatPovratnicaDobavljacuStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcNc_Kolicina(line);
    calcFC_Kolicina(line);
    calcRabatUlazni1_2_3(line);  // before pot_naki: nfci takes the fee of the pass before
    calcPov_nak_Kolicina(line);
    calcPot_nak_Kolicina(line);
    ReturnDifference(line);
    ReturnTaxAndTotal(line, d);
  });
}

void PovratnicaKupcaStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcVpc_Kolicina(line);
    calcPci_pc_kolicina(line);
    line.Set(osnovica, line[pci]);
    TaxAndTotal(line, d);
  });
}

void RacunVlastitePotrebeStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    if (line[kolicina] == 0) return;
    calcNc_Kolicina(line);
    calcPov_nak_Kolicina(line);
    line.Set(pdvi, Round(TaxOn(line[nci], line[tbr_stp]), d));
    line.Set(ukupno, R2(line[pdvi] + line[nci] + line[pov_naki]));
    line.Set(osnovica, line[ukupno] - line[pdvi] - line[pov_naki]);
  });
}

// --- net-priced invoices ---

void PredracunStavkeCalcFields(RecordSet& lines, int d) { CalculateGoodsPricedNet(lines, d); }
void PredracunUslugeCalcFields(RecordSet& lines, int d) { CalculateServicesPricedNet(lines, d); }
void OtpremnicaRacunStavkeCalcFields(RecordSet& lines, int d) { CalculateGoodsPricedNet(lines, d); }
void OtpremnicaRacunUslugeCalcFields(RecordSet& lines, int d) { CalculateServicesPricedNet(lines, d); }
void StornoOtpremnicaRacunStavkeCalcFields(RecordSet& lines, int d) { CalculateGoodsPricedNet(lines, d); }
void StornoOtpremnicaRacunUslugeCalcFields(RecordSet& lines, int d) { CalculateServicesPricedNet(lines, d); }

void RacunUslugaCalcFields(RecordSet& lines, int d) { CalculateServicesWithOneDiscount(lines, d); }
void RacunUslugaInozemstvoCalcFields(RecordSet& lines, int d) { CalculateServicesWithOneDiscount(lines, d); }

void BezGotovinskiRacunServisUslugeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPci_pc_kolicina(line);
    calcVpc_Kolicina(line);
    calcMPC_Kolicina(line);
    calcRabat(line);
    line.Set(osnovica, R2(line[pci] - line[rbi1]));
    TaxAndTotal(line, d);
  });
}

void BezGotovinskiRacunServisMaterijalCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPci_pc_kolicina(line);
    calcVpc_Kolicina(line);
    calcRabat(line);
    calcMPC_Kolicina(line);
    line.Set(osnovica, R2(line[pci] - line[rbi1]));
    TaxAndTotal(line, d);
  });
}

// --- cash invoices ---

void GotovinskiRacunStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    if (line[kolicina] == 0) return;
    calcPci_pc_kolicina(line);
    calcRabat1_2_3(line);
    calcPov_nak_Kolicina(line);
    const Currency net = NetAfterDiscounts(line);
    line.Set(mpc, Round((WithTax(net, line[tbr_stp]) + line[pov_naki]) / line[kolicina], GetPcCalcDigit()));
    line.Set(ukupno, R2(line[mpc] * line[kolicina]));
    line.Set(pdvi, Round(ContainedTax(line[ukupno] - line[pov_naki], line[tbr_stp]), d));
    line.Set(osnovica, line[ukupno] - line[pdvi] - line[pov_naki]);
    BalanceThirdDiscount(line, net);
    calcMPC_Kolicina(line);
  });
}

void GotovinskiRacunUslugeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    if (line[kolicina] == 0) return;
    calcPci_pc_kolicina(line);
    calcRabat1_2_3(line);
    const Currency net = NetAfterDiscounts(line);
    line.Set(mpc, R2(WithTax(net, line[tbr_stp]) / line[kolicina]));
    calcMPC_Kolicina(line);
    TotalTaxBaseFromGross(line, d);
    BalanceThirdDiscount(line, net);
  });
}

void StornoGotovinskiRacunStavkeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPci_pc_kolicina(line);
    calcRabat1_2_3(line);
    const Currency net = NetAfterDiscounts(line);
    line.Set(mpc, R2(WithTax(net, line[tbr_stp]) / line[kolicina]));
    TotalTaxBaseFromGross(line, d);
    BalanceThirdDiscount(line, net);
  });
}

void GotovinskiRacunUslugaCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) { ServicesPricedGross(line, d); });
}

void GotovinskiRacunUslugaMarinaCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    ServicesPricedGross(line, d);
    line.Set(mpci_v, R2(line[mpcv] * line[kolicina]));
    line.Set(rbi1_v, R2(line[mpci_v] * line[rbp1] / 100));
    line.Set(ukupno_v, line[mpci_v] - line[rbi1_v]);
    line.Set(pdvi_v, R2(ContainedTax(line[ukupno_v], line[tbr_stp])));
    line.Set(vpci_v, line[ukupno_v] - line[pdvi_v]);
  });
}

void GotovinskiRacunServisUslugeCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcMPC_Kolicina(line);
    line.Set(pc, R2(WithoutTax(line[mpc], line[tbr_stp])));
    calcPci_pc_kolicina(line);
    calcVpc_Kolicina(line);
    line.Set(ukupno, R2(line[mpc] * line[kolicina]));
    calcPDVI_mal(line, d);
  });
}

void GotovinskiRacunServisMaterijalCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPci_pc_kolicina(line);
    calcVpc_Kolicina(line);
    calcRabat(line);
    const Currency net = line[pci] - line[rbi1];
    if (line[kolicina] != 0) line.Set(mpc, R2(WithTax(net, line[tbr_stp]) / line[kolicina]));
    calcMPC_Kolicina(line);
    line.Set(ukupno, R2(line[mpc] * line[kolicina]));
    line.Set(osnovica, line[ukupno] - line[pdvi]);  // with the tax of the pass before
    line.Set(rbi1, line[rbi1] + (net - line[osnovica]));
    calcPDVI_mal(line, d);
  });
}

void MalGotovinskiRacunCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcPov_nak_Kolicina(line);
    calcMPC_Kolicina(line);
    line.Set(pc, R2(line[mpc] * (1 - line[popust] / 100)));
    calcPci_pc_kolicina(line);
    line.Set(popust_iznos, line[mpci] - line[pci]);
    calcPDVI_malPC_pov_nak(line, d);
  });
}

void MalGotovinskiRacunCalcUsluge(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    calcMPC_Kolicina(line);
    calcPDVI_mal(line, d);
    line.Set(ukupno, line[mpci]);
    calcVpc_maloprodaja(line);
    calcVpc_Kolicina(line);
    calcPci_pc_kolicina(line);
  });
}

// --- the rest ---

void RadniNalogStavkeCalcFields(RecordSet& lines, int d) {
  Calculate(lines, [d](auto& line) {
    calcVpc_Kolicina(line);
    line.Set(mpc, R2(line[vpc] * (1 + line[tbr_stp] / 100)));
    calcMPC_Kolicina(line);
    line.Set(pdvi, Round(ContainedTax(line[mpci], line[tbr_stp]), d));
  });
}

void RadniNalogUslugeCalcFields(RecordSet& lines, int d) {
  Calculate(lines, [d](auto& line) {
    calcPci_pc_kolicina(line);
    calcRabat(line);
    line.Set(pci_int, R2(line[pc_int] * line[kolicina]));
    line.Set(normativ_izn, R2(Amount::OfUnits(line[normativ] * line[kolicina])));
    line.Set(mpc, R2((line[pci] - line[rbi1]) / line[kolicina] * (1 + line[tbr_stp] / 100)));
    calcMPC_Kolicina(line);
    line.Set(pdvi, Round(ContainedTax(line[mpci], line[tbr_stp]), d));
  });
}

void MalDnevniIzvBlagCalcFields(RecordSet& lines, int d) {
  d = AtLeast2(d);
  Calculate(lines, [d](auto& line) {
    line.Set(pdviroba, Round(TaxOn(line[osnovicaroba], line[tbr_stp]), d));
    line.Set(pdviusluge, Round(TaxOn(line[osnovicausluge], line[tbr_stp]), d));
  });
}

void PrimkaKalkulacija01CalcFields(RecordSet& lines) {
  Calculate(lines, [](auto& line) {
    calcFC_Kolicina(line);
    calcPov_nak_Kolicina(line);
    calcPot_nak_Kolicina(line);
    calcRabatUlazni1_2_3(line);
  });
}

void StornoPrimkeKalkulacijeCalcFields(RecordSet& lines, int purchase_price_decimals, int wholesale_digits) {
  constexpr int kMarginFromPrice = 1;
  calcFC_Kolicina(lines);
  calcRabatUlazni1_2_3(lines);
  calc_NC_PrimkaKalkulacija(lines, purchase_price_decimals);
  CalcVPC_Marza_PrimkaKalkulacija(lines, kMarginFromPrice, wholesale_digits);
}

}  // namespace mox
