#pragma once

#include <QDialog>
#include <QLineEdit>
#include <cstdint>

#include "desktop/record_page.h"
#include "paper/mail.h"

namespace mox {

class DesktopHost;

/// Sends the page of a stored document by mail to the address that the user gives, and answers what became of
/// it, for people; empty where he gave none. Raises Error.
QString MailDocument(DesktopHost& host, std::int64_t id);

/// The mails of documents and what became of them. One that waits is sent from here; another copy of one that
/// was sent, or may have been, only on a yes.
class MailPage : public RecordPage {
 public:
  explicit MailPage(DesktopHost& host);

 private:
  void Read() override;
  std::int64_t CurrentId() const;
  void Send();
  void Settle(MailEnd end);
};

/// The company's account with its server of mails.
class MailAccountDialog : public QDialog {
 public:
  MailAccountDialog(DesktopHost& host, QWidget* parent);
  void accept() override;

 private:
  DesktopHost& host_;
  QLineEdit url_;
  QLineEdit user_;
  QLineEdit password_;
  QLineEdit sender_;
};

}  // namespace mox
