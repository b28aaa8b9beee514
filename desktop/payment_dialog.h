#pragma once

#include <QComboBox>
#include <QDialog>
#include <QLineEdit>

#include "desktop/named_label.h"
#include "mox/foundation/currency.h"

namespace mox {

/// How a cash sale is paid, and what is given back of the money that was handed over.
class PaymentDialog : public QDialog {
 public:
  /// `method` is how it is paid where that is known already.
  PaymentDialog(Currency total, const QString& method, QWidget* parent);
  QString Method() const { return method_.currentText(); }
  void accept() override;

 private:
  void ShowChange();

  Currency total_;
  QComboBox method_;
  QLineEdit received_;
  NamedLabel change_;
};

}  // namespace mox
