#pragma once

#include <QTranslator>

namespace mox {

/// The words of Qt's own buttons, menus and file dialogs in Croatian.
class QtWords : public QTranslator {
 public:
  using QTranslator::QTranslator;
  QString translate(const char* context, const char* text, const char* disambiguation,
                    int count) const override;
  bool isEmpty() const override { return false; }
};

}  // namespace mox
