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

}  // namespace mox
