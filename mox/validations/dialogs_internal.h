#pragma once

#include <string>
#include <string_view>

#include "mox/foundation/app.h"
#include "mox/foundation/error.h"

// How the checks speak to the user.

#pragma GCC visibility push(hidden)

namespace mox {

inline constexpr std::string_view kWarning = "Upozorenje";
inline constexpr std::string_view kBadEntry = "Nedozvoljen unos!";

/// Shows a warning; false, the answer of a check that fails.
inline bool Warn(std::string_view heading, std::string_view message) {
  ShowVelorDialog(TVCustomDialogType::kInformation, kWarning, heading, message);
  return false;
}

/// Shows an error; false.
inline bool Fault(std::string_view heading, std::string_view message) {
  ShowVelorDialog(TVCustomDialogType::kError, "Greška", heading, message);
  return false;
}

/// Whether the test holds; a value that cannot be read, or a part of the host that is not there, fails it.
template <typename Test>
bool Holds(const Test& test) {
  try {
    return test();
  } catch (const Error&) {
    return false;
  }
}

/// Lines of one message.
class Lines {
 public:
  void Add(std::string_view line) {
    if (!text_.empty()) text_ += "\r\n";
    text_ += line;
  }
  /// True where there are none; otherwise shows them as a warning.
  bool NoneOrWarn(std::string_view heading) const { return text_.empty() || Warn(heading, text_); }

 private:
  std::string text_;
};

}  // namespace mox

#pragma GCC visibility pop
