#include <gmock/gmock.h>

#include <QApplication>
#include <QStandardPaths>

#include "tests/desktop/dark_theme.h"

// Nobody's screen is used, and nobody's settings.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("LC_ALL", "C.UTF-8");
  testing::InitGoogleMock(&argc, argv);
  QStandardPaths::setTestModeEnabled(true);
  QApplication application(argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  mox::ShowDarkWhereAsked();
  return RUN_ALL_TESTS();
}
