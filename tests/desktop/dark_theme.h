#pragma once

#include <QApplication>
#include <QPalette>

namespace mox {

/// The colours of a dark desktop, where the environment says MOX_TEST_DARK.
inline void ShowDarkWhereAsked() {
  if (!qEnvironmentVariableIsSet("MOX_TEST_DARK")) return;
  QPalette dark(QColor(53, 53, 53), QColor(42, 42, 42));
  dark.setColor(QPalette::Base, QColor(42, 42, 42));
  dark.setColor(QPalette::AlternateBase, QColor(60, 60, 60));
  for (const auto role : {QPalette::Text, QPalette::WindowText, QPalette::ButtonText}) {
    dark.setColor(role, Qt::white);
  }
  QApplication::setPalette(dark);
}

}  // namespace mox
