#include "mox/calculations/receipt_costing.h"

#include "mox/calculations/line_formulas_internal.h"
#include "mox/foundation/precision.h"

namespace mox {

using namespace formulas;

namespace {

// Wholesale costing; the documents differ in the name of the margin amount.
void CostWholesale(RecordSet& lines, int mode, int digits, CurrencyName margin) {
  digits = AtLeast2(digits);
  if (mode == 0) {
    lines.Set(margin, Round(lines[nci] * lines[marp] / 100, digits));
    lines.Set(vpci, lines[nci] + lines[margin]);
    if (lines[kolicina] != 0) lines.Set(vpc, Round(lines[vpci] / lines[kolicina], digits));
    const Currency difference = R2(lines[vpci] - R2(lines[vpc] * lines[kolicina]));
    lines.Set(vpci, lines[vpci] - difference);
    lines.Set(margin, lines[margin] - difference);
  } else {
    lines.Set(vpci, R2(lines[vpc] * lines[kolicina]));
    lines.Set(margin, lines[vpci] - lines[nci]);
    SetMarginPercent(lines, marp, lines[margin], lines[nci]);
  }
}

// Margin percent on a purchase price, 0 where that is 0.
Real PercentOf(Amount margin, Amount purchase_price) {
  return purchase_price.scaled() == 0 ? Real(0) : margin / purchase_price * 100;
}

}  // namespace

void CalcVPC_Marza_PrimkaKalkulacija(RecordSet& lines, int mode, int digits) {
  CostWholesale(lines, mode, digits, marza);
}

void Calc_PrimkaKalkulacija_VPC_OR_Marza(RecordSet& lines, int mode, int digits) {
  CostWholesale(lines, mode, digits, mari);
}

void CalcMPC_Marza_PrimkaKalkulacija(RecordSet& lines, int mode, int vat_digits, int price_digits) {
  price_digits = AtLeast2(price_digits);
  if (mode == 0) {
    lines.Set(mari, Round(lines[nci] * lines[marp] / 100, price_digits));
    lines.Set(mpci, R2((lines[nci] + lines[mari]) * (1 + lines[tbr_stp] / 100)) + lines[pov_naki]);
    if (lines[kolicina] != 0) lines.Set(mpc, Round(lines[mpci] / lines[kolicina], price_digits));
    const Currency difference = R2(lines[mpci] - R2(lines[mpc] * lines[kolicina]));
    lines.Set(mpci, lines[mpci] - difference);
    lines.Set(mari, lines[mari] - R2(WithoutTax(difference, lines[tbr_stp])));
    calcPDVI_mal_pov_nak(lines, vat_digits);
  } else {
    calcMPC_Kolicina(lines);
    calcPDVI_mal_pov_nak(lines, vat_digits);
    lines.Set(mari, lines[mpci] - lines[pov_naki] - lines[nci] - lines[pdvi]);
    SetMarginPercent(lines, marp, lines[mari], lines[nci]);
  }
}

void CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH(RecordSet& lines, int mode, int vat_digits) {
  if (mode == 0) {
    lines.Set(maria, R2(lines[nca] * lines[marpa] / 100));
    lines.Set(mpcia, R2((lines[nca] + lines[maria]) * (1 + lines[tbr_stp] / 100)));
    lines.Set(mpca, lines[mpcia]);
  } else {
    lines.Set(mpcia, lines[mpca]);
    lines.Set(pdvi, Round(ContainedTax(lines[mpcia], lines[tbr_stp]), AtLeast2(vat_digits)));
    lines.Set(maria, lines[mpcia] - lines[nca] - lines[pdvi]);
    lines.Set(marpa, PercentOf(lines[maria], lines[nca]));
    lines.Set(marp, PercentOf(WithoutTax(lines[mpc], lines[tbr_stp]) - lines[nc], lines[nc]));
  }
}

void CalcNC_PrimkaZaTuduRobu(RecordSet& lines) {
  lines.Set(nc, Round(WithoutTax(lines[mpc], lines[tbr_stp]), GetNcCalcDigit()));
}

void Calc_Marp_ZadanaMarza_ArtInsert(RecordSet& articles, Currency price, bool with_vat) {
  articles.Edit();
  const Currency invoice_price = articles[fc];
  const Currency discount1 = R2(invoice_price * articles.Optional(rbp1) / 100);
  const Currency discount2 = R2((invoice_price - discount1) * articles.Optional(rbp2) / 100);
  const Currency discount3 = R2((invoice_price - discount1 - discount2) * articles.Optional(rbp3) / 100);
  Amount purchase_price = Currency();
  if (articles.Has(ztp)) {
    const Currency net = R2(invoice_price - (discount1 + discount2 + discount3) + articles.Optional(pot_nak));
    purchase_price = net * articles[ztp] / 100 + net;
  }
  if (price.IsZero() || !articles.Has(marp)) return;
  if (purchase_price.scaled() == 0) {
    articles.Set(marp, 0);
    return;
  }
  const Amount net_price =
      with_vat ? WithoutTax(price - articles.Optional(pov_nak), articles.Optional(tbr_stp)) : Amount(price);
  articles.Set(marp, (net_price - purchase_price) / purchase_price * 100);
}

}  // namespace mox
