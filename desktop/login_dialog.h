#pragma once

#include <QDialog>
#include <QLineEdit>
#include <string>

#include "connect/server_address.h"
#include "desktop/named_label.h"

namespace mox {

class DesktopHost;

/// Begins a session with a server, which is kept for this computer's user. Why it was refused is told in the
/// dialog, which stays.
class LoginDialog : public QDialog {
 public:
  LoginDialog(DesktopHost& host, ServerAddress address, const std::string& user, QWidget* parent);
  void accept() override;

 private:
  void ChooseAuthority();

  DesktopHost& host_;
  ServerAddress address_;
  QLineEdit user_;
  QLineEdit password_;
  QLineEdit authority_;
  NamedLabel fault_;
};

}  // namespace mox
