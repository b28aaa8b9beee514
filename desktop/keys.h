#pragma once

#include <QKeySequence>
#include <QString>
#include <functional>
#include <span>

class QShortcut;
class QWidget;

namespace mox {

/// Keys and what they do, for the list at F1. Those of the menus stand there themselves.
struct KeyRow {
  const char* keys;  ///< as "Ctrl+P; Ctrl+U"
  const char16_t* what;
  QString Text() const;
};
std::span<const KeyRow> KeyRows();

/// A key that works on a whole page or dialog; what the action raises is told. Raises Error for one that is
/// not in the list, as nobody would find it.
QShortcut* MakeShortcut(QWidget* page, const QKeySequence& key, std::function<void()> action);

}  // namespace mox
