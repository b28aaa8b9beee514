#include "desktop/platform.h"

#include <QApplication>
#include <QClipboard>
#include <QLocale>
#include <QThread>
#include <utility>

#include "desktop/clipboard_table.h"
#include "desktop/qt_text.h"
#include "mox/foundation/error.h"

namespace mox {

std::string QtPlatform::ClipboardText() {
  if (clipboard_) return *clipboard_;
  return FromQt(mox::ClipboardText(QApplication::clipboard()->mimeData()));
}

MouseCursor QtPlatform::SetCursor(MouseCursor cursor) {
  if (cursor == MouseCursor::kHourglass && shown_ == MouseCursor::kDefault) {
    QApplication::setOverrideCursor(Qt::WaitCursor);
  } else if (cursor == MouseCursor::kDefault && shown_ == MouseCursor::kHourglass) {
    QApplication::restoreOverrideCursor();
  }
  return std::exchange(shown_, cursor);
}

void QtPlatform::ProcessMessages() {
  constexpr unsigned long kPause = 5;  // milliseconds
  try {
    if (look_) look_();
  } catch (const Abort&) {
    ended_ = true;
  }
  if (!look_) QCoreApplication::processEvents(QEventLoop::ExcludeUserInputEvents);
  QThread::msleep(kPause);
}

bool QtPlatform::IsTerminated() const {
  return ended_ || SystemPlatform::IsTerminated() || QCoreApplication::closingDown();
}

LocaleSettings LocaleSettingsOf(const QLocale& system) {
  LocaleSettings settings;
  if (system.language() == QLocale::C || system.language() == QLocale::Croatian) return settings;
  settings.decimal_separator = FromQt(system.decimalPoint());
  settings.thousands_separator = FromQt(system.groupSeparator());
  QString date = system.dateFormat(QLocale::ShortFormat);
  date.remove(u' ');
  for (const QChar part : {QChar(u'd'), QChar(u'M'), QChar(u'y')}) {
    const qsizetype first = date.indexOf(part);
    const qsizetype last = date.lastIndexOf(part);
    if (first < 0) return settings;
    date.replace(first, last - first + 1, QString(part == u'y' ? 4 : 2, part));
  }
  if (date.endsWith(u'.')) date.chop(1);
  settings.short_date = FromQt(date);
  return settings;
}

LocaleSettings SystemLocaleSettings() { return LocaleSettingsOf(QLocale::system()); }

}  // namespace mox
