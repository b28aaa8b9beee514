#pragma once

#include <QDialog>
#include <QElapsedTimer>
#include <QLabel>
#include <QProgressBar>
#include <QPushButton>
#include <memory>

#include "desktop/host.h"
#include "mox/import/import_view.h"

namespace mox {

/// Work that has taken so many milliseconds says so.
inline constexpr qint64 kTakesLong = 300;

/// The status form of long work: a line of text, a progress bar, and a button, or Escape, that ends it. While
/// it is shown no other window takes keys, clicks and the like, but dialogs that the work opens; keys that
/// are typed meanwhile go on to where they were typed afterwards.
class StatusForm : public QDialog {
 public:
  explicit StatusForm(QWidget* owner);
  ~StatusForm() override;

  /// Shows what the status says. Where the user has ended the work, raises Abort, once, for what went on when
  /// he did; but not where it is being stored: whoever waits for the answer learns of it by Look().
  void Show(const TfrmStatus& status, bool repaint);
  /// For work that does not say how far it is.
  void Show(const QString& text);
  /// While something else works: paints, takes the button, and raises Abort in the same way.
  void Look();
  bool WasEnded() const { return ended_; }
  /// New work may be ended again.
  void Begin() { ended_ = ends_ = false; }
  void reject() override { ended_ = ends_ = true; }

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void hideEvent(QHideEvent* event) override;

 private:
  void Paint();

  QLabel text_;
  QProgressBar bar_;
  QPushButton end_{QStringLiteral("Prekini (Esc)")};
  QElapsedTimer since_painted_;
  bool ended_ = false;
  bool ends_ = false;  // what goes on does not know of it yet
};

/// Work that may take long, for this object's lifetime: requests to the server, and what the host is given to
/// run, go on beside the window. Once that has taken a moment the status form says what it is and takes the
/// button that ends it, which raises Abort where the work is.
class LongRun {
 public:
  LongRun(DesktopHost& host, QString text);

 private:
  void Look();

  QString text_;
  QElapsedTimer since_;
  std::unique_ptr<StatusForm> status_;  // once that has taken a moment
  DesktopHost::LongWork work_;
};

}  // namespace mox
