#include "mox/calculations/receipt_costing.h"

#include "mox/calculations/line_formulas_internal.h"
#include "mox/foundation/precision.h"

namespace mox {

using namespace formulas;

namespace {

// Wholesale costing; the documents differ in the name of the margin amount.
void CostWholesale(RecordSet& lines, int mode, int digits, CurrencyName margin) {
  AnyLine line(lines);
  digits = AtLeast2(digits);
  if (mode == 0) {
    line.Set(margin, Round(line[nci] * line[marp] / 100, digits));
    line.Set(vpci, line[nci] + line[margin]);
    if (line[kolicina] != 0) line.Set(vpc, Round(line[vpci] / line[kolicina], digits));
    const Currency difference = R2(line[vpci] - R2(line[vpc] * line[kolicina]));
    line.Set(vpci, line[vpci] - difference);
    line.Set(margin, line[margin] - difference);
  } else {
    line.Set(vpci, R2(line[vpc] * line[kolicina]));
    line.Set(margin, line[vpci] - line[nci]);
    SetMarginPercent(line, marp, line[margin], line[nci]);
  }
}

// Margin percent on a purchase price, 0 where that is 0.
Real PercentOf(Amount margin, Amount purchase_price) {
  return purchase_price.scaled() == 0 ? Real(0) : margin / purchase_price * 100;
}

Amount OptionalPrice(const RecordSet& records, PriceName name) {
  return records.Has(name) ? records.Price(name) : Amount(Currency());
}

}  // namespace

void CalcVPC_Marza_PrimkaKalkulacija(RecordSet& lines, int mode, int digits) {
  CostWholesale(lines, mode, digits, marza);
}

void Calc_PrimkaKalkulacija_VPC_OR_Marza(RecordSet& lines, int mode, int digits) {
  CostWholesale(lines, mode, digits, mari);
}

void CalcMPC_Marza_PrimkaKalkulacija(RecordSet& lines, int mode, int vat_digits, int price_digits) {
  AnyLine line(lines);
  price_digits = AtLeast2(price_digits);
  if (mode == 0) {
    line.Set(mari, Round(line[nci] * line[marp] / 100, price_digits));
    line.Set(mpci, R2((line[nci] + line[mari]) * (1 + line[tbr_stp] / 100)) + line[pov_naki]);
    if (line[kolicina] != 0) line.Set(mpc, Round(line[mpci] / line[kolicina], price_digits));
    const Currency difference = R2(line[mpci] - R2(line[mpc] * line[kolicina]));
    line.Set(mpci, line[mpci] - difference);
    line.Set(mari, line[mari] - R2(WithoutTax(difference, line[tbr_stp])));
    calcPDVI_mal_pov_nak(line, vat_digits);
  } else {
    calcMPC_Kolicina(line);
    calcPDVI_mal_pov_nak(line, vat_digits);
    line.Set(mari, line[mpci] - line[pov_naki] - line[nci] - line[pdvi]);
    SetMarginPercent(line, marp, line[mari], line[nci]);
  }
}

void CalcMPC_Marza_AkcijskiNalogIzmjeneCijenaBIH(RecordSet& lines, int mode, int vat_digits) {
  AnyLine line(lines);
  if (mode == 0) {
    line.Set(maria, R2(line[nca] * line[marpa] / 100));
    line.Set(mpcia, R2((line[nca] + line[maria]) * (1 + line[tbr_stp] / 100)));
    line.Set(mpca, line[mpcia]);
  } else {
    line.Set(mpcia, Stored(line[mpca]));
    line.Set(pdvi, Round(ContainedTax(line[mpcia], line[tbr_stp]), AtLeast2(vat_digits)));
    line.Set(maria, Stored(line[mpcia] - line[nca] - line[pdvi]));
    line.Set(marpa, PercentOf(line[maria], line[nca]));
    line.Set(marp, PercentOf(WithoutTax(line[mpc], line[tbr_stp]) - line[nc], line[nc]));
  }
}

void CalcNC_PrimkaZaTuduRobu(RecordSet& lines) {
  AnyLine line(lines);
  line.Set(nc, Round(WithoutTax(line[mpc], line[tbr_stp]), GetNcCalcDigit()));
}

void Calc_Marp_ZadanaMarza_ArtInsert(RecordSet& articles, Currency price, bool with_vat) {
  articles.Edit();
  const Amount invoice_price = articles.Price(fc);
  const Currency discount1 = R2(invoice_price * articles.Optional(rbp1) / 100);
  const Currency discount2 = R2((invoice_price - discount1) * articles.Optional(rbp2) / 100);
  const Currency discount3 = R2((invoice_price - discount1 - discount2) * articles.Optional(rbp3) / 100);
  Amount purchase_price = Currency();
  if (articles.Has(ztp)) {
    const Currency net =
        R2(invoice_price - (discount1 + discount2 + discount3) + OptionalPrice(articles, pot_nak));
    purchase_price = net * articles[ztp] / 100 + net;
  }
  if (price.IsZero() || !articles.Has(marp)) return;
  if (purchase_price.scaled() == 0) {
    articles.Set(marp, 0);
    return;
  }
  const Amount net_price =
      with_vat ? WithoutTax(price - OptionalPrice(articles, pov_nak), articles.Optional(tbr_stp))
               : Amount(price);
  articles.Set(marp, (net_price - purchase_price) / purchase_price * 100);
}

}  // namespace mox
