#include "desktop/action_button.h"

#include <QPushButton>
#include <QShortcut>

#include "desktop/dialogs.h"
#include "desktop/keys.h"

namespace mox {

QPushButton* AddActionButton(QWidget* page, QBoxLayout& bar, const QString& text,
                             const std::function<void()>& action, const QKeySequence& key) {
  auto* const button = new QPushButton(
      key.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, key.toString(QKeySequence::NativeText)));
  button->setAutoDefault(false);
  QObject::connect(button, &QPushButton::clicked, page, [action] { Guarded(action); });
  if (!key.isEmpty()) MakeShortcut(page, key, action)->setContext(Qt::WidgetWithChildrenShortcut);
  bar.addWidget(button);
  return button;
}

}  // namespace mox
