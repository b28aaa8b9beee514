#include "desktop/typed_ahead.h"

#include <QApplication>
#include <QWidget>
#include <algorithm>

#include "desktop/dialogs.h"

QT_BEGIN_NAMESPACE
// Of Qt's library, as its test helpers declare them: a key as it comes from the screen, first as a shortcut.
Q_GUI_EXPORT bool qt_sendShortcutOverrideEvent(QObject* window, ulong timestamp, int key,
                                               Qt::KeyboardModifiers modifiers, const QString& text,
                                               bool repeats, ushort count);
Q_GUI_EXPORT void qt_handleKeyEvent(QWindow* window, QEvent::Type type, int key,
                                    Qt::KeyboardModifiers modifiers, const QString& text, bool repeats,
                                    ushort count);
QT_END_NAMESPACE

namespace mox {

void TypedAhead::Hold() {
  if (!held_.empty() && QApplication::activeModalWidget() == nullptr) {
    held_.push_back(held_.back());  // the window in front may be a status form
  } else {
    const QWidget* const front = FrontWindow();
    held_.emplace_back(front == nullptr ? nullptr : front->windowHandle());
  }
  QCoreApplication::instance()->installEventFilter(this);
}

void TypedAhead::LetGo(const QWindow* status) {
  const QPointer<QWindow> into = held_.back();
  held_.pop_back();
  if (!keys_.empty() && into != nullptr && QGuiApplication::focusWindow() == status) into->requestActivate();
  Go();
}

bool TypedAhead::IsBlocked(const QWindow* window) {
  const QWidget* const dialog = QApplication::activeModalWidget();
  return dialog != nullptr && dialog->windowHandle() != window;
}

// After whatever else was asked for until then.
void TypedAhead::Go() {
  if (!std::exchange(goes_, true)) {
    QCoreApplication::postEvent(this, new QEvent(QEvent::User), Qt::LowEventPriority);
  }
}

bool TypedAhead::Takes(const QWindow* window) const {
  const bool works = std::find(held_.begin(), held_.end(), window) != held_.end();
  const bool has_keys =
      QGuiApplication::focusWindow() == window || QApplication::activePopupWidget() != nullptr;
  return !works && has_keys && !IsBlocked(window);
}

bool TypedAhead::event(QEvent* event) {
  if (event->type() != QEvent::User) return QObject::event(event);
  goes_ = false;
  std::erase_if(keys_, [](const Typed& typed) { return !typed.into || !typed.into->isVisible(); });
  const auto next =
      std::find_if(keys_.begin(), keys_.end(), [this](const Typed& typed) { return Takes(typed.into); });
  if (next != keys_.end()) {
    const Typed typed = std::move(*next);
    keys_.erase(next);
    Go();  // also where this one opens a dialog
    Give(typed);
  } else if (keys_.empty() && held_.empty()) {
    QCoreApplication::instance()->removeEventFilter(this);
  }
  return true;
}

void TypedAhead::Give(const Typed& typed) {
  const QKeyEvent& key = *typed.key;
  const auto count = static_cast<ushort>(key.count());
  gives_ = QEvent::ShortcutOverride;
  const bool done = key.type() == QEvent::KeyPress &&
                    qt_sendShortcutOverrideEvent(typed.into, key.timestamp(), key.key(), key.modifiers(),
                                                 key.text(), key.isAutoRepeat(), count);
  gives_ = key.type();
  if (!done && typed.into) {
    qt_handleKeyEvent(typed.into, key.type(), key.key(), key.modifiers(), key.text(), key.isAutoRepeat(),
                      count);
  }
  gives_ = QEvent::None;
}

// Where work goes on, the window that it is done in; where keys wait for this one, this one; else null.
QWindow* TypedAhead::WaitingFor(QWindow* window) const {
  if (!held_.empty() && !IsBehindADialog()) return held_.back();
  const bool waits =
      std::any_of(keys_.begin(), keys_.end(), [window](const Typed& typed) { return typed.into == window; });
  return waits ? window : nullptr;
}

bool TypedAhead::eventFilter(QObject* watched, QEvent* event) {
  if (!watched->isWindowType()) return QObject::eventFilter(watched, event);
  switch (event->type()) {
    case QEvent::FocusIn:
    case QEvent::WindowUnblocked:
      Go();
      break;
    case QEvent::ShortcutOverride:
    case QEvent::KeyPress:
    case QEvent::KeyRelease: {
      const bool given = gives_ != QEvent::None;
      if (event->type() == gives_) gives_ = QEvent::None;
      QWindow* const into = given ? nullptr : WaitingFor(static_cast<QWindow*>(watched));
      if (into == nullptr) break;
      event->accept();
      if (event->type() != QEvent::ShortcutOverride) {
        keys_.push_back({into, std::unique_ptr<QKeyEvent>(static_cast<QKeyEvent*>(event)->clone())});
      }
      return true;
    }
    default:
      break;
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace mox
