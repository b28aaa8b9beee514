#include "desktop/window_place.h"

#include <QEvent>
#include <QWidget>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

constexpr const char* kSection = "DESKTOP";

}  // namespace

WindowPlace::WindowPlace(QWidget& window, const char* name) : QObject(&window), window_(window), name_(name) {
  window.installEventFilter(this);
}

bool WindowPlace::eventFilter(QObject* /*watched*/, QEvent* event) {
  if (!window_.isWindow() || event->spontaneous()) return false;
  if (event->type() == QEvent::Show) Restore();
  if (event->type() == QEvent::Hide) Keep();
  return false;
}

void WindowPlace::Restore() {
  const std::string place = App().Ini().ReadString(kSection, name_, "");
  if (!place.empty()) window_.restoreGeometry(QByteArray::fromBase64(QByteArray::fromStdString(place)));
}

// A place that cannot be written is not worth a word.
void WindowPlace::Keep() const {
  const std::string place = window_.saveGeometry().toBase64().toStdString();
  try {
    if (App().Ini().ReadString(kSection, name_, "") != place) App().Ini().WriteString(kSection, name_, place);
  } catch (const Error&) {
  }
}

}  // namespace mox
