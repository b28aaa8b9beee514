#include "desktop/action_button.h"

#include <QPushButton>
#include <QShortcut>

#include "desktop/dialogs.h"

namespace mox {

QPushButton* AddActionButton(QWidget* page, QBoxLayout& bar, const QString& text,
                             std::function<void()> action, const QKeySequence& key) {
  auto* const button = new QPushButton(
      key.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, key.toString(QKeySequence::NativeText)));
  button->setAutoDefault(false);
  const auto run = [action = std::move(action)] { Guarded(action); };
  QObject::connect(button, &QPushButton::clicked, page, run);
  if (!key.isEmpty()) {
    auto* const shortcut = new QShortcut(key, page);
    shortcut->setContext(Qt::WidgetWithChildrenShortcut);
    QObject::connect(shortcut, &QShortcut::activated, page, run);
  }
  bar.addWidget(button);
  return button;
}

}  // namespace mox
