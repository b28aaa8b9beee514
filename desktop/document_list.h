#pragma once

#include <QComboBox>
#include <QLineEdit>

#include "desktop/record_page.h"

namespace mox {

class DesktopHost;

/// The stored documents: narrowed down by kind, days and any text, with their sums; cancelled, paid and sent
/// as e-invoices from here.
class DocumentList : public RecordPage {
 public:
  explicit DocumentList(DesktopHost& host);
  void Reload() override;

 private:
  void Storno();
  void Pay();
  void SendEInvoice();
  std::int64_t CurrentId() const;

  DesktopHost& host_;
  QComboBox kind_;
  QLineEdit from_;
  QLineEdit to_;
  QLineEdit text_;
};

}  // namespace mox
