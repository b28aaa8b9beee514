#pragma once

#include <QEvent>
#include <QKeyEvent>
#include <QObject>
#include <QPointer>
#include <QWindow>
#include <deque>
#include <memory>
#include <vector>

namespace mox {

/// What is typed while the program works. It goes on to the window where it was typed afterwards, as if it
/// were typed only then, shortcuts too: each key comes once the work of the one before is done, the window is
/// the active one and no dialog is before it. What was typed for a window that has closed is dropped.
class TypedAhead : public QObject {
 public:
  using QObject::QObject;
  /// Until it is let go, keys wait for the window in front.
  void Hold();
  /// What was held last goes on. Where `status` had the keys meanwhile, they return to that window.
  void LetGo(const QWindow* status);
  /// A dialog that has opened since takes its keys itself.
  bool IsBehindADialog() const { return !held_.empty() && IsBlocked(held_.back()); }

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  struct Typed {
    QPointer<QWindow> into;
    std::unique_ptr<QKeyEvent> key;
  };
  static bool IsBlocked(const QWindow* window);
  QWindow* WaitingFor(QWindow* window) const;
  bool Takes(const QWindow* window) const;
  void Give(const Typed& typed);
  void Go();

  std::vector<QPointer<QWindow>> held_;  // the innermost work's last
  std::deque<Typed> keys_;
  bool goes_ = false;
  QEvent::Type gives_ = QEvent::None;  // up to this event the next ones are of these keys
};

}  // namespace mox
