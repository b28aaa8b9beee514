#pragma once

#include <functional>

#include "desktop/qt_text.h"
#include "mox/foundation/app.h"

class QWidget;

namespace mox {

/// The message dialogs and input boxes, owned by the window in front. Enter takes the default button:
/// yes of a question, the only one of a message. Escape means no, and cancels an input box.
class QtDialogs : public AppDialogs {
 public:
  int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                      std::string_view message) override;
  void ShowMessage(std::string_view text) override;
  std::optional<std::string> InputBox(std::string_view title, std::string_view prompt,
                                      std::string_view default_text) override;
  std::optional<std::string> InputText(std::string_view title, std::string_view prompt,
                                       std::string_view default_text) override;
  /// A value that is none keeps the box open and is told below it.
  std::optional<double> InputNumber(std::string_view title, std::string_view prompt,
                                    double default_value) override;
  std::optional<Date> InputDate(std::string_view title, std::string_view prompt, Date default_date) override;
};

/// Where the user works, which owns what opens: the dialog that waits for an answer, the active window, or
/// the main one where none is active, as until a window manager has seen that a dialog has closed. May be
/// null.
QWidget* FrontWindow();

/// Runs what a user asked for; an error is told in a dialog, the silent abort not again. False where it ended
/// so.
bool Guarded(const std::function<void()>& action);

/// A question with yes and no.
bool Ask(std::string_view heading, std::string_view message);
/// The same where yes loses something: Enter means no.
bool AskToLose(std::string_view heading, std::string_view message);

}  // namespace mox
