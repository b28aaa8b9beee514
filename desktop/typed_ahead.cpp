#include "desktop/typed_ahead.h"

#include <QApplication>

QT_BEGIN_NAMESPACE
// Of Qt's library, as its test helpers declare it: a key as it comes from the screen.
Q_GUI_EXPORT void qt_handleKeyEvent(QWindow* window, QEvent::Type type, int key,
                                    Qt::KeyboardModifiers modifiers, const QString& text, bool repeats,
                                    ushort count);
QT_END_NAMESPACE

namespace mox {

void TypedAhead::Hold(const QWidget* owner) {
  if (holders_++ > 0) return;
  dialog_ = QApplication::activeModalWidget();
  if (!keys_.empty() && window_ != nullptr) return;
  keys_.clear();
  QWindow* const into = QGuiApplication::focusWindow();
  window_ = into != nullptr || owner == nullptr ? into : owner->window()->windowHandle();
}

void TypedAhead::LetGo() {
  --holders_;
  if (!keys_.empty()) Go();
}

bool TypedAhead::IsBehindADialog() const { return QApplication::activeModalWidget() != dialog_; }

// After whatever else was asked for until then.
void TypedAhead::Go() {
  if (!std::exchange(goes_, true)) {
    QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::LowEventPriority);
  }
}

bool TypedAhead::event(QEvent* event) {
  if (event->type() != QEvent::User) return QObject::event(event);
  goes_ = false;
  if (holders_ > 0 || keys_.empty()) return true;
  if (window_ == nullptr || !window_->isVisible()) return keys_.clear(), true;
  if (IsBehindADialog()) return window_->installEventFilter(this), true;
  const std::unique_ptr<QKeyEvent> key = std::move(keys_.front());
  keys_.pop_front();
  if (!keys_.empty()) Go();  // also where this one opens a dialog
  qt_handleKeyEvent(window_, key->type(), key->key(), key->modifiers(), key->text(), key->isAutoRepeat(),
                    static_cast<ushort>(key->count()));
  return true;
}

bool TypedAhead::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::WindowUnblocked) {
    watched->removeEventFilter(this);
    Go();
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace mox
