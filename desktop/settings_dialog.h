#pragma once

#include <QDialog>
#include <QSpinBox>
#include <array>

namespace mox {

/// The decimals of quantities and of purchase, selling and invoice prices, which go into the settings with
/// their masks.
class SettingsDialog : public QDialog {
 public:
  explicit SettingsDialog(QWidget* parent);
  void accept() override;

 private:
  std::array<QSpinBox, 4> digits_;
};

}  // namespace mox
