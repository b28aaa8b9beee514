#pragma once

#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/app.h"

namespace mox {

/// Message dialogs on a terminal: each is one line "Caption: heading: message", a plain message its text
/// alone. Empty parts are left out, and line breaks inside a part become a blank.
///
/// A confirmation is answered from the input (a line "d", "da", "y" or "yes" means yes; anything else, also
/// the end of the input, means no) or always in the same way. The answer to any other dialog is 0.
///
/// An input box takes a line of the input; an empty one means the default, the end of the input cancels.
/// Where the answer is fixed, yes means the default and no cancels.
class ConsoleDialogs : public AppDialogs {
 public:
  /// The streams must outlive the dialogs.
  ConsoleDialogs(std::ostream& output, std::istream& input) : output_(output), input_(&input) {}
  /// Answers every confirmation with `answer`: kDialogYes or kDialogNo.
  ConsoleDialogs(std::ostream& output, int answer) : output_(output), answer_(answer) {}

  int ShowVelorDialog(TVCustomDialogType kind, std::string_view caption, std::string_view heading,
                      std::string_view message) override;
  void ShowMessage(std::string_view text) override;
  std::optional<std::string> InputBox(std::string_view title, std::string_view prompt,
                                      std::string_view default_text) override;

 private:
  int Ask();

  std::ostream& output_;
  std::istream* input_ = nullptr;  // null where the answer is fixed
  int answer_ = kDialogNo;
};

}  // namespace mox
