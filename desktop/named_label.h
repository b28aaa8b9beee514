#pragma once

#include <QLabel>

namespace mox {

/// A label with a name of its own, by its accessible name; who cannot see what it says at present is told so
/// by its description.
class NamedLabel : public QLabel {
 public:
  void setText(const QString& text) {
    QLabel::setText(text);
    setAccessibleDescription(text);
  }
  void clear() { setText({}); }
};

/// The amount that a page is about: large, to the right, with a name.
inline void ShowLarge(QLabel& amount, const QString& name) {
  QFont large = amount.font();
  large.setPointSizeF(large.pointSizeF() * 1.6);
  large.setBold(true);
  amount.setFont(large);
  amount.setAlignment(Qt::AlignRight);
  amount.setAccessibleName(name);
}

}  // namespace mox
