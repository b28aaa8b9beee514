#include "desktop/settings_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QLabel>
#include <QPushButton>

#include "desktop/dialog_buttons.h"
#include "desktop/dialogs.h"
#include "mox/foundation/app.h"
#include "mox/foundation/precision.h"

namespace mox {
namespace {

struct Digits {
  const char16_t* label;
  int (*get)();
  void (*set)(int decimals);
  void (*set_mask)();
};

void SetKolDecimalPlaces(int decimals) { App().Ini().WriteInteger("GENERAL", "KOL_NUM", decimals); }
void SetKolMask() {
  App().Ini().WriteString("GENERAL", "KOL_MASK", GetFieldDisplayFormat(GetKolDecimalPlaces()));
}

constexpr std::array<Digits, 4> kDigits = {
    {{u"&Količine:", GetKolDecimalPlaces, SetKolDecimalPlaces, SetKolMask},
     {u"&Nabavne cijene:", GetNcCalcDigit, SetNcCalcDigit, SetNcCalcMask},
     {u"&Prodajne cijene:", GetPcCalcDigit, SetPcCalcDigit, SetPcCalcMask},
     {u"&Fakturne cijene:", GetFcCalcDigit, SetFcCalcDigit, SetFcCalcMask}}};

constexpr int kMostDecimals = 4;

}  // namespace

SettingsDialog::SettingsDialog(QWidget* parent) : QDialog(parent) {
  setWindowTitle(QStringLiteral("Broj decimala"));
  auto* const form = new QFormLayout(this);
  for (std::size_t i = 0; i < kDigits.size(); ++i) {
    digits_[i].setRange(0, kMostDecimals);
    digits_[i].setValue(kDigits[i].get());
    auto* const mask = new QLabel(ToQt(GetFieldDisplayFormat(digits_[i].value())));
    connect(&digits_[i], &QSpinBox::valueChanged, mask,
            [mask](int decimals) { mask->setText(ToQt(GetFieldDisplayFormat(decimals))); });
    form->addRow(QString::fromUtf16(kDigits[i].label), &digits_[i]);
    form->addRow(QString(), mask);
  }
  auto* const buttons = MakeDialogButtons(*this, QStringLiteral("Pohrani"));
  form->addRow(buttons);
}

// First the digits are stored, then the mask is made of them.
void SettingsDialog::accept() {
  const bool stored = Guarded([this] {
    for (std::size_t i = 0; i < kDigits.size(); ++i) {
      kDigits[i].set(digits_[i].value());
      kDigits[i].set_mask();
    }
  });
  if (stored) QDialog::accept();
}

}  // namespace mox
