#include "cli/progress_bar.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>

#include "mox/foundation/visible_text.h"

namespace mox {

bool IsTerminal(const std::istream& in) { return &in == &std::cin && ::isatty(STDIN_FILENO) != 0; }
bool IsTerminal(const std::ostream& err) { return &err == &std::cerr && ::isatty(STDERR_FILENO) != 0; }

std::string ProgressLine(std::string_view text, std::int64_t position, std::int64_t maximum) {
  constexpr std::int64_t kWidth = 20;
  const std::int64_t percent =
      maximum > 0 ? std::clamp<std::int64_t>(position, 0, maximum) * 100 / maximum : 0;
  const auto filled = static_cast<std::size_t>(percent * kWidth / 100);
  const std::string number = std::to_string(percent);
  return "[" + std::string(filled, '#') + std::string(kWidth - filled, '-') + "] " +
         std::string(3 - number.size(), ' ') + number + " % " + VisibleText(text);
}

void ProgressBar::Show(std::string_view text, std::int64_t position, std::int64_t maximum) {
  if (!shown_) return;
  std::string line = ProgressLine(text, position, maximum);
  if (line == line_) return;
  line_ = std::move(line);
  out_ << "\r\x1B[K" << line_ << std::flush;
}

void ProgressBar::Clear() {
  if (line_.empty()) return;
  line_.clear();
  out_ << "\r\x1B[K" << std::flush;
}

}  // namespace mox
