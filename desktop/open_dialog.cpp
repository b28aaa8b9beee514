#include "desktop/open_dialog.h"

#include <QDialogButtonBox>
#include <QFileDialog>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "desktop/dialog_buttons.h"
#include "desktop/qt_text.h"

namespace mox {

OpenDialog::OpenDialog(const std::vector<std::string>& recent, QWidget* parent) : QDialog(parent) {
  setWindowTitle(QStringLiteral("Otvori tvrtku"));
  auto* const layout = new QVBoxLayout(this);
  auto* const label = new QLabel(QStringLiteral("&Datoteka ili adresa:"));
  label->setBuddy(&address_);
  address_.setEditable(true);
  address_.setAccessibleName(QStringLiteral("Datoteka ili adresa"));
  for (const std::string& known : recent) address_.addItem(ToQt(known));
  layout->addWidget(label);
  layout->addWidget(&address_);
  layout->addWidget(new QLabel(QStringLiteral(
      "Datoteka:\t/put/do/tvrtka.db\nPostgreSQL:\tpostgresql://korisnik@računalo/baza?company=ime\n"
      "Poslužitelj:\thttps://računalo/tvrtka")));
  auto* const buttons = MakeDialogButtons(*this, QStringLiteral("Otvori"));
  QPushButton* const file =
      buttons->addButton(QStringLiteral("&Odaberi datoteku…"), QDialogButtonBox::ActionRole);
  file->setAutoDefault(false);
  connect(file, &QPushButton::clicked, this, [this] { ChooseFile(); });
  layout->addWidget(buttons);
  resize(560, sizeHint().height());
}

std::string OpenDialog::Address() const { return FromQt(address_.currentText().trimmed()); }

void OpenDialog::accept() {
  if (!Address().empty()) QDialog::accept();
}

void OpenDialog::ChooseFile() {
  const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Otvori tvrtku"), {},
                                                    QStringLiteral("Tvrtka (*.db);;Sve datoteke (*)"));
  if (path.isEmpty()) return;
  address_.setEditText(path);
  accept();
}

}  // namespace mox
