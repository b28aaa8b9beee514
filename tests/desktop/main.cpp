#include <gmock/gmock.h>

#include <QApplication>
#include <QPalette>
#include <QStandardPaths>

// Nobody's screen is used, and nobody's settings.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("LC_ALL", "C.UTF-8");
  testing::InitGoogleMock(&argc, argv);
  QStandardPaths::setTestModeEnabled(true);
  QApplication application(argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  if (qEnvironmentVariableIsSet("MOX_TEST_DARK")) {
    QPalette dark(QColor(53, 53, 53), QColor(42, 42, 42));
    dark.setColor(QPalette::Base, QColor(42, 42, 42));
    dark.setColor(QPalette::AlternateBase, QColor(60, 60, 60));
    for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
      dark.setColor(role, Qt::white);
    }
    QApplication::setPalette(dark);
  }
  return RUN_ALL_TESTS();
}
