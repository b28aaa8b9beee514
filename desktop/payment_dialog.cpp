#include "desktop/payment_dialog.h"

#include <QDialogButtonBox>
#include <QFormLayout>
#include <QPushButton>

#include "desktop/dialog_buttons.h"
#include "desktop/money.h"
#include "desktop/qt_text.h"
#include "mox/server/read_services.h"

namespace mox {

PaymentDialog::PaymentDialog(Currency total, const QString& method, QWidget* parent)
    : QDialog(parent), total_(total) {
  setWindowTitle(QStringLiteral("Naplata"));
  auto* const form = new QFormLayout(this);
  const auto methods = CreateDBDataSet("Kat\\nacini_placanja", "nacini_placanja", {});
  if (methods) {
    const std::size_t name = *methods->FindFieldIndex("naziv");
    for (const RecordRow& row : methods->Rows()) method_.addItem(ToQt(row.AsText(name)));
  }
  const int cash =
      method_.findText(method.isEmpty() ? QStringLiteral("Gotovina") : method, Qt::MatchFixedString);
  if (cash >= 0) method_.setCurrentIndex(cash);
  auto* const to_pay = new QLabel(MoneyText(total));
  QFont large = to_pay->font();
  large.setPointSizeF(large.pointSizeF() * 1.6);
  large.setBold(true);
  to_pay->setFont(large);
  change_.setFont(large);
  received_.setText(MoneyText(total));
  received_.selectAll();
  received_.setAccessibleName(QStringLiteral("Primljeno"));
  method_.setAccessibleName(QStringLiteral("Način plaćanja"));
  change_.setAccessibleName(QStringLiteral("Za vratiti"));
  auto* const buttons = MakeDialogButtons(*this, QStringLiteral("Pohrani"));
  form->addRow(QStringLiteral("Za platiti:"), to_pay);
  form->addRow(QStringLiteral("&Način plaćanja:"), &method_);
  form->addRow(QStringLiteral("&Primljeno:"), &received_);
  form->addRow(QStringLiteral("Za vratiti:"), &change_);
  form->addRow(buttons);
  connect(&received_, &QLineEdit::textChanged, this, [this] { ShowChange(); });
  received_.setFocus();
  ShowChange();
}

void PaymentDialog::ShowChange() {
  const auto received = ReadMoney(received_.text());
  if (!received) return change_.setText(QStringLiteral("to nije iznos"));
  change_.setText(*received < total_ ? QStringLiteral("nedostaje ") + MoneyText(total_ - *received)
                                     : MoneyText(*received - total_));
}

void PaymentDialog::accept() {
  const auto received = ReadMoney(received_.text());
  if (!received || *received < total_) return received_.setFocus();
  QDialog::accept();
}

}  // namespace mox
