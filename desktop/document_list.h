#pragma once

#include <QComboBox>
#include <QLineEdit>

#include "desktop/record_page.h"

namespace mox {

class DesktopHost;

/// The stored documents: narrowed down by kind, days and any text, with their sums. Enter opens one; it is
/// printed, paid, cancelled and sent as an e-invoice from here.
class DocumentList : public RecordPage {
 public:
  DocumentList(DesktopHost& host, std::function<void(std::int64_t id)> open);

 private:
  void showEvent(QShowEvent* event) override;
  void Read() override;
  void ShowNote(const QString& note);
  std::int64_t CurrentId() const;

  std::function<void(std::int64_t)> open_;
  QString sums_;
  int read_at_ = 0;  // of what was stored
  Later read_anew_;
  QComboBox kind_;
  QLineEdit from_;
  QLineEdit to_;
  QLineEdit text_;
};

}  // namespace mox
