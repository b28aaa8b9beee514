#include "desktop/login_dialog.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QPushButton>
#include <QStyle>

#include "connect/login_store.h"
#include "desktop/contrast.h"
#include "desktop/croatian.h"
#include "desktop/dialog_buttons.h"
#include "desktop/host.h"
#include "desktop/qt_text.h"
#include "mox/foundation/error.h"
#include "mox/host/system_platform.h"

namespace mox {

LoginDialog::LoginDialog(DesktopHost& host, ServerAddress address, const std::string& user, QWidget* parent)
    : QDialog(parent), host_(host), address_(std::move(address)), user_(ToQt(user)) {
  setWindowTitle(QStringLiteral("Prijava"));
  auto* const form = new QFormLayout(this);
  password_.setEchoMode(QLineEdit::Password);
  authority_.setPlaceholderText(QStringLiteral("ovlaštenje ovog računala"));
  QAction* const choose =
      authority_.addAction(style()->standardIcon(QStyle::SP_DialogOpenButton), QLineEdit::TrailingPosition);
  choose->setToolTip(QStringLiteral("Odaberi datoteku"));
  connect(choose, &QAction::triggered, this, [this] { ChooseAuthority(); });
  fault_.setWordWrap(true);
  fault_.setVisible(false);
  fault_.setStyleSheet(FaultStyle(palette()));
  fault_.setAccessibleName(QStringLiteral("Zašto prijava nije uspjela"));
  auto* const buttons = MakeDialogButtons(*this, QStringLiteral("Prijavi se"));
  form->addRow(QStringLiteral("Poslužitelj:"), new QLabel(ToQt(address_.server)));
  form->addRow(QStringLiteral("&Korisnik:"), &user_);
  form->addRow(QStringLiteral("&Lozinka:"), &password_);
  form->addRow(QStringLiteral("&Potvrda poslužitelja:"), &authority_);
  form->addRow(&fault_);
  form->addRow(buttons);
  user_.setAccessibleName(QStringLiteral("Korisnik"));
  password_.setAccessibleName(QStringLiteral("Lozinka"));
  authority_.setAccessibleName(QStringLiteral("Potvrda poslužitelja"));
  const auto before = LoginStore(SystemPlatform::UserStateFolder()).Find(address_.server);
  if (before) {
    user_.setText(ToQt(before->user));
    authority_.setText(ToQt(before->ca_file));
  }
  (user_.text().isEmpty() ? user_ : password_).setFocus();
}

void LoginDialog::ChooseAuthority() {
  const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Potvrda poslužitelja"), {},
                                                    QStringLiteral("PEM (*.pem *.crt);;Sve datoteke (*)"));
  if (!path.isEmpty()) authority_.setText(path);
}

void LoginDialog::accept() {
  try {
    host_.LogIn(address_, FromQt(user_.text().trimmed()), FromQt(password_.text()),
                FromQt(authority_.text().trimmed()));
    return QDialog::accept();
  } catch (const Abort&) {
    fault_.setText(QStringLiteral("Prijava je prekinuta."));
  } catch (const std::exception& error) {
    fault_.setText(InCroatian(error.what()));
  }
  fault_.setVisible(true);
  password_.selectAll();
  password_.setFocus();
}

}  // namespace mox
