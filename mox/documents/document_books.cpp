#include "mox/documents/document_books.h"

#include "mox/codes/exchange_rates.h"

namespace mox {

TaxRole TaxRoleOf(const DocumentKind& kind) {
  if (!kind.recap.Exists()) return {};
  switch (kind.is) {
    case DocumentClass::kInvoice:
    case DocumentClass::kStock:
      return {TaxSide::kOutput, 1};
    case DocumentClass::kGoodsReceipt:
      return {TaxSide::kInput, 1};
    case DocumentClass::kReturn:
      return {kind.stock == StockDirection::kIn ? TaxSide::kOutput : TaxSide::kInput, -1};
    case DocumentClass::kProForma:
    case DocumentClass::kOrder:
    case DocumentClass::kReport:
      return {};
  }
  return {};
}

int TurnoverSign(const DocumentKind& kind) {
  if (kind.IsSale()) return 1;
  return kind.is == DocumentClass::kReturn && kind.stock == StockDirection::kIn ? -1 : 0;
}

ConvertedTotal TotalInCurrencyOfDate(Currency total, const RecordSet& taxes, bool charges_tax, Date date,
                                     double rate) {
  ConvertedTotal converted;
  Currency rest = total;
  for (const RecordRow& row : taxes.Rows()) {
    const Currency base = row.AsCurrency(row.IndexOf("osnovica"));
    const Currency tax = charges_tax ? row.AsCurrency(row.IndexOf("porez")) : Currency();
    rest -= base + tax;
    converted.base += InCurrencyOfDate(base, date, rate);
    converted.tax += InCurrencyOfDate(tax, date, rate);
  }
  converted.total = converted.base + converted.tax + InCurrencyOfDate(rest, date, rate);
  return converted;
}

}  // namespace mox
