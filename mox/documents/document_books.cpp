#include "mox/documents/document_books.h"

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

}  // namespace mox
