#pragma once

#include <QDialog>
#include <QLabel>
#include <QLineEdit>
#include <vector>

#include "mox/foundation/currency.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// What the supplier's document says of its goods, tax and fees, entered from the paper, beside what the
/// lines come to: where they differ either was entered wrongly.
class SupplierDialog : public QDialog {
 public:
  /// Records as MakeSupplierTotals makes them; `entered` is changed when the dialog is accepted.
  SupplierDialog(RecordSet& entered, const RecordSet& calculated, QWidget* parent);
  void accept() override;
  /// What is stored is only shown.
  void SetReadOnly();

 private:
  struct Amount {
    std::size_t field;
    QLineEdit* line;
    QLabel* difference;
    Currency calculated;
  };
  void ShowDifference(const Amount& amount);

  RecordSet& entered_;
  std::vector<Amount> amounts_;
};

/// The captions of what was entered and is not what the lines come to, with both amounts; empty where nothing
/// differs.
QString SupplierDifferences(const RecordSet& entered, const RecordSet& calculated);

}  // namespace mox
