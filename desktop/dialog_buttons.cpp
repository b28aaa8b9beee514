#include "desktop/dialog_buttons.h"

#include <QDialog>
#include <QDialogButtonBox>
#include <QPushButton>

namespace mox {

QDialogButtonBox* MakeDialogButtons(QDialog& dialog, const QString& accept) {
  auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel);
  buttons->button(QDialogButtonBox::Ok)->setText(accept);
  buttons->button(QDialogButtonBox::Cancel)->setText(QStringLiteral("Odustani"));
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  return buttons;
}

}  // namespace mox
