#pragma once

#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

namespace mox {

/// Whether the stream is the program's own and stands on a terminal.
bool IsTerminal(const std::istream& in);
bool IsTerminal(const std::ostream& err);

/// A line at the end of a terminal that shows how far something has come. On any other stream it shows
/// nothing.
class ProgressBar {
 public:
  explicit ProgressBar(std::ostream& out) : out_(out), shown_(IsTerminal(out)) {}
  ~ProgressBar() { Clear(); }
  ProgressBar(const ProgressBar&) = delete;
  ProgressBar& operator=(const ProgressBar&) = delete;

  /// The position may lie outside of 0 to `maximum`, which may be 0.
  void Show(std::string_view text, std::int64_t position, std::int64_t maximum);
  void Clear();

 private:
  std::ostream& out_;
  bool shown_;
  std::string line_;  // as it stands on the terminal
};

/// "[##########----------]  50 % Provjera podataka".
std::string ProgressLine(std::string_view text, std::int64_t position, std::int64_t maximum);

}  // namespace mox
