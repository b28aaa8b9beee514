#pragma once

#include <QString>

class QDialog;
class QDialogButtonBox;

namespace mox {

/// The buttons that accept a dialog, named by what that does, and leave it.
QDialogButtonBox* MakeDialogButtons(QDialog& dialog, const QString& accept);

}  // namespace mox
