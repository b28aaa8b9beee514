#include "desktop/supplier_dialog.h"

#include <QDialogButtonBox>
#include <QGridLayout>
#include <QPushButton>

#include "desktop/dialog_buttons.h"
#include "desktop/money.h"
#include "desktop/qt_text.h"
#include "mox/calculations/supplier_totals.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"

namespace mox {
namespace {

QString Money(Currency amount) { return ToQt(FormatFloat("#,0.00;-#,0.00", amount, CurrentLocale())); }

// As it is entered: without what groups thousands.
QString Typed(Currency amount) { return ToQt(FormatFloat("0.00;-0.00", amount, CurrentLocale())); }

std::optional<Currency> ReadAmount(const QString& text) {
  if (text.trimmed().isEmpty()) return Currency();
  try {
    return ReadMoney(text);
  } catch (const Error&) {
    return std::nullopt;
  }
}

// 0 where the totals are of the edition that does not have it.
Currency AmountOf(const RecordSet& totals, const std::string& field) {
  const auto index = totals.FindFieldIndex(field);
  return index ? totals.RowAt(0).AsCurrency(*index) : Currency();
}

}  // namespace

SupplierDialog::SupplierDialog(RecordSet& entered, const RecordSet& calculated, QWidget* parent)
    : QDialog(parent), entered_(entered) {
  setWindowTitle(ToQt(kDocDobavljacaTitle));
  auto* const grid = new QGridLayout(this);
  int row = 0;
  for (const char16_t* const heading : {u"", u"S dokumenta", u"Iz stavaka", u""}) {
    grid->addWidget(new QLabel(QString::fromUtf16(heading)), 0, row++, Qt::AlignRight);
  }
  row = 1;
  for (std::size_t field = 0; field < entered.FieldCount(); ++field) {
    const Currency counted = AmountOf(calculated, entered.Definition(field).name);
    const QString caption = ToQt(entered.Definition(field).display_name);
    auto* const line = new QLineEdit(Typed(entered.RowAt(0).AsCurrency(field)));
    auto* const label = new QLabel(caption);
    auto* const difference = new QLabel;
    label->setBuddy(line);
    line->setAlignment(Qt::AlignRight);
    line->setAccessibleName(caption);
    difference->setAccessibleName(QStringLiteral("Razlika, ") + caption);
    difference->setMinimumWidth(140);
    grid->addWidget(label, row, 0);
    grid->addWidget(line, row, 1);
    grid->addWidget(new QLabel(Money(counted)), row, 2, Qt::AlignRight);
    grid->addWidget(difference, row, 3);
    amounts_.push_back({field, line, difference, counted});
    connect(line, &QLineEdit::textChanged, this,
            [this, at = amounts_.size() - 1] { ShowDifference(amounts_[at]); });
    ShowDifference(amounts_.back());
    ++row;
  }
  amounts_.front().line->selectAll();
  auto* const buttons = MakeDialogButtons(*this, QStringLiteral("U redu"));
  QPushButton* const take =
      buttons->addButton(QStringLiteral("&Preuzmi iz stavaka"), QDialogButtonBox::ActionRole);
  take->setAutoDefault(false);
  connect(take, &QPushButton::clicked, this, [this] {
    for (const Amount& amount : amounts_) amount.line->setText(Typed(amount.calculated));
  });
  grid->addWidget(buttons, row, 0, 1, 4);
}

void SupplierDialog::SetReadOnly() {
  for (const Amount& amount : amounts_) amount.line->setReadOnly(true);
  auto* const buttons = findChild<QDialogButtonBox*>();
  for (QAbstractButton* const button : buttons->buttons()) {
    button->setVisible(buttons->buttonRole(button) == QDialogButtonBox::AcceptRole);
  }
}

void SupplierDialog::ShowDifference(const Amount& amount) {
  const auto entered = ReadAmount(amount.line->text());
  amount.difference->setText(!entered ? QStringLiteral("to nije iznos")
                             : *entered == amount.calculated
                                 ? QString()
                                 : QStringLiteral("razlika ") + Money(*entered - amount.calculated));
}

void SupplierDialog::accept() {
  for (const Amount& amount : amounts_) {
    if (!ReadAmount(amount.line->text())) return amount.line->setFocus();
  }
  entered_.Edit();
  for (const Amount& amount : amounts_) {
    entered_.SetVariant(amount.field, Value(*ReadAmount(amount.line->text())));
  }
  entered_.Post();
  QDialog::accept();
}

QString SupplierDifferences(const RecordSet& entered, const RecordSet& calculated) {
  QStringList differences;
  const auto compare = [&](const FieldDef& field) {
    const Currency on_paper = AmountOf(entered, field.name);
    const Currency of_lines = AmountOf(calculated, field.name);
    if (on_paper == of_lines) return;
    differences.append(QStringLiteral("%1 na dokumentu %2, iz stavaka %3")
                           .arg(ToQt(field.display_name), Money(on_paper), Money(of_lines)));
  };
  for (std::size_t i = 0; i < entered.FieldCount(); ++i) compare(entered.Definition(i));
  for (std::size_t i = 0; i < calculated.FieldCount(); ++i) {
    if (!entered.FindFieldIndex(calculated.Definition(i).name)) compare(calculated.Definition(i));
  }
  return differences.join(u'\n');
}

}  // namespace mox
