#pragma once

#include <QEvent>
#include <QKeyEvent>
#include <QObject>
#include <QPointer>
#include <QWidget>
#include <QWindow>
#include <deque>
#include <memory>

namespace mox {

/// What is typed while the program works. It goes on to where it was typed afterwards, as if it were typed
/// only then: each key comes once the work of the one before is done, and none is taken into a dialog that
/// has opened since. Keys that type are given back; shortcuts among them are dropped.
class TypedAhead : public QObject {
 public:
  using QObject::QObject;
  /// Until it is let go, as often as it is held, it waits. The owner's window gets it where none has the
  /// keys.
  void Hold(const QWidget* owner);
  void LetGo();
  void Keep(const QKeyEvent& key) { keys_.emplace_back(key.clone()); }
  /// A dialog that has opened since takes its keys itself.
  bool IsBehindADialog() const;

 protected:
  bool event(QEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Go();

  int holders_ = 0;
  bool goes_ = false;
  QPointer<QWindow> window_;  // it was typed into
  QPointer<QWidget> dialog_;  // that was open then
  std::deque<std::unique_ptr<QKeyEvent>> keys_;
};

}  // namespace mox
