#include "mox/host/console_dialogs.h"

#include <algorithm>
#include <array>
#include <istream>
#include <ostream>
#include <string>

#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

constexpr std::array<std::string_view, 4> kYes = {"d", "da", "y", "yes"};

// A run of line breaks becomes one blank, at the ends nothing, and nothing reaches the terminal that it
// obeys.
std::string OnOneLine(std::string_view text) {
  std::string line;
  for (const char c : TrimBlanks(text)) {
    const bool line_break = c == '\r' || c == '\n';
    if (!line_break) {
      line += c;
    } else if (line.back() != ' ') {
      line += ' ';
    }
  }
  return VisibleText(line);
}

}  // namespace

int ConsoleDialogs::ShowVelorDialog(TVCustomDialogType kind, std::string_view caption,
                                    std::string_view heading, std::string_view message) {
  std::string line;
  for (const std::string_view part : {caption, heading, message}) {
    const std::string text = OnOneLine(part);
    if (!line.empty() && !text.empty()) line += ": ";
    line += text;
  }
  output_ << line << std::endl;
  return kind == TVCustomDialogType::kConfirmation ? Ask() : 0;
}

void ConsoleDialogs::ShowMessage(std::string_view text) { output_ << OnOneLine(text) << std::endl; }

std::optional<std::string> ConsoleDialogs::InputBox(std::string_view title, std::string_view prompt,
                                                    std::string_view default_text) {
  std::string line(default_text);
  if (input_ == nullptr) return answer_ == kDialogYes ? std::optional(line) : std::nullopt;
  output_ << OnOneLine(title) << ": " << OnOneLine(prompt) << " [" << OnOneLine(default_text) << "] "
          << std::flush;
  if (!std::getline(*input_, line)) return std::nullopt;
  if (line.ends_with('\r')) line.pop_back();
  return line.empty() ? std::string(default_text) : line;
}

int ConsoleDialogs::Ask() {
  if (input_ == nullptr) return answer_;
  output_ << "[d/n] " << std::flush;
  std::string line;
  std::getline(*input_, line);
  const std::string answer = FoldCase(TrimBlanks(line));
  return std::find(kYes.begin(), kYes.end(), answer) != kYes.end() ? kDialogYes : kDialogNo;
}

}  // namespace mox
