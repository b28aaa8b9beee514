#include <QApplication>
#include <QCommandLineParser>
#include <QDir>
#include <QMessageBox>
#include <QStandardPaths>
#include <cstdio>

#include "desktop/croatian.h"
#include "desktop/host.h"
#include "desktop/main_window.h"
#include "desktop/qt_words.h"

namespace {

// Qt ends a program that finds no screen; this says before it does what can be done.
bool HasDisplay() {
#ifdef Q_OS_LINUX
  return qEnvironmentVariableIsSet("DISPLAY") || qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
         qEnvironmentVariableIsSet("QT_QPA_PLATFORM");
#else
  return true;
#endif
}

QString DefaultSettings() {
  const QString folder =
      QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) + QStringLiteral("/mox");
  QDir().mkpath(folder);
  return folder + QStringLiteral("/mox.ini");
}

}  // namespace

int main(int argc, char** argv) {
  if (!HasDisplay()) {
    std::fputs(
        "mox-desktop: there is no display: start it in a desktop session, or with xvfb-run, or show it\n"
        "nowhere with QT_QPA_PLATFORM=offscreen\n",
        stderr);
    return 1;
  }
  QApplication application(argc, argv);
  mox::QtWords words;
  QApplication::installTranslator(&words);
  QApplication::setApplicationName(QStringLiteral("mox-desktop"));
  QApplication::setApplicationVersion(QStringLiteral(MOX_VERSION));
  QApplication::setDesktopFileName(QStringLiteral("mox-desktop"));

  QCommandLineParser parser;
  parser.setApplicationDescription(QStringLiteral("The window of mox."));
  parser.addHelpOption();
  parser.addVersionOption();
  const QCommandLineOption ini(QStringLiteral("ini"),
                               QStringLiteral("The settings file, as the command has it."),
                               QStringLiteral("FILE"));
  parser.addOption(ini);
  parser.addPositionalArgument(QStringLiteral("company"),
                               QStringLiteral("The company database; the last one where it is left out."));
  parser.process(application);

  try {
    mox::DesktopHost host(mox::FromQt(parser.isSet(ini) ? parser.value(ini) : DefaultSettings()));
    mox::MainWindow window(host);
    window.show();
    const QStringList companies = parser.positionalArguments();
    const std::string company = companies.isEmpty() ? host.LastCompany() : mox::FromQt(companies.first());
    if (!company.empty()) mox::Guarded([&] { window.OpenCompany(company); });
    return QApplication::exec();
  } catch (const std::exception& error) {
    std::fprintf(stderr, "mox-desktop: %s\n", error.what());
    QMessageBox::critical(nullptr, QStringLiteral("Greška"), mox::InCroatian(error.what()));
    return 1;
  }
}
