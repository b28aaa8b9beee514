#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>

#include "desktop/host.h"
#include "mox/import/import_view.h"

namespace mox {

/// The status form of long work: a line of text, a progress bar, and a button that ends it. While it is shown
/// nothing else takes keys and clicks.
class StatusForm : public QDialog {
 public:
  explicit StatusForm(QWidget* owner);

  /// Shows what the status says. Raises Abort once the user has ended the work, where that can still be done.
  void Show(const TfrmStatus& status, bool repaint);
  /// For work that does not say how far it is.
  void Show(const QString& text);
  /// The same, but it comes only once the work has taken a moment. What may not end has no button for it.
  void ShowSoon(const QString& text, bool may_end);
  /// While something else works: paints, takes the button, and raises Abort once the user has ended the work.
  void Look();
  bool WasEnded() const { return ended_; }
  /// New work may be ended again.
  void Begin() { ended_ = false; }
  void reject() override { ended_ = may_end_; }

 private:
  QLabel text_;
  QProgressBar bar_;
  QPushButton end_{QStringLiteral("Prekini")};
  QElapsedTimer since_painted_;
  bool ended_ = false;
  bool may_end_ = true;
  bool comes_ = false;  // once it has taken a moment
};

/// Work that may take long, for this object's lifetime: requests to the server, and what the host is given to
/// run, go on beside the window. Once that has taken a moment the status form says what it is and takes the
/// button that ends it, which raises Abort where the work is.
class LongRun {
 public:
  enum class Ending : std::uint8_t { kByUser, kNever };
  LongRun(DesktopHost& host, const QString& text, Ending ending = Ending::kByUser);

 private:
  StatusForm status_;
  DesktopHost::LongWork work_;
};

}  // namespace mox
