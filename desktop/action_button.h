#pragma once

#include <QBoxLayout>
#include <QKeySequence>
#include <QString>
#include <functional>

class QPushButton;

namespace mox {

/// A button at the end of a bar, whose key, shown behind its text, works on the whole page. What the action
/// raises is told.
QPushButton* AddActionButton(QWidget* page, QBoxLayout& bar, const QString& text,
                             const std::function<void()>& action, const QKeySequence& key = {});

}  // namespace mox
