#include <gmock/gmock.h>

#include <QApplication>
#include <QStandardPaths>
#include <string_view>

#include "tests/desktop/dark_theme.h"
#include "tests/desktop/model_watch.h"
#include "tests/desktop/other_window.h"

// Nobody's screen is used, and nobody's settings.
int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  qputenv("LC_ALL", "C.UTF-8");
  testing::InitGoogleMock(&argc, argv);
  QStandardPaths::setTestModeEnabled(true);
  QApplication application(argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  mox::ShowDarkWhereAsked();
  mox::ModelWatch watch;
  application.installEventFilter(&watch);
  if (argc == 4 && std::string_view(argv[1]) == mox::kOtherWindow) {
    return mox::StoreInAWindow(argv[2], std::stoi(argv[3])) ? 0 : 1;
  }
  return RUN_ALL_TESTS();
}
