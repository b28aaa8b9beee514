#pragma once

#include <QObject>

class QWidget;

namespace mox {

/// Shows a window where it was when it was hidden last, as the settings file remembers it under a name. What
/// stands in another window is left alone. The window owns it.
class WindowPlace : public QObject {
 public:
  WindowPlace(QWidget& window, const char* name);

 protected:
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void Restore();
  void Keep() const;

  QWidget& window_;
  const char* name_;
};

}  // namespace mox
