#include "mox/host/command_line.h"

#include <algorithm>

namespace mox {
namespace {

bool IsSeparator(char c) { return c == ' ' || c == '\t'; }

// Reads one argument off the front of a text that begins with it.
std::string TakeArgument(std::string_view& text) {
  std::string argument;
  bool quoted = false;
  while (!text.empty() && (quoted || !IsSeparator(text.front()))) {
    const std::size_t backslashes = std::min(text.find_first_not_of('\\'), text.size());
    text.remove_prefix(backslashes);
    const bool before_quote = text.starts_with('"');
    argument.append(before_quote ? backslashes / 2 : backslashes, '\\');
    if (before_quote) {
      text.remove_prefix(1);
      if (backslashes % 2 == 1) {
        argument += '"';
      } else if (quoted && text.starts_with('"')) {
        argument += '"';
        text.remove_prefix(1);
      } else {
        quoted = !quoted;
      }
    } else if (backslashes == 0) {
      argument += text.front();
      text.remove_prefix(1);
    }
  }
  return argument;
}

}  // namespace

std::vector<std::string> SplitCommandLine(std::string_view text) {
  std::vector<std::string> arguments;
  while (true) {
    const auto first = std::find_if_not(text.begin(), text.end(), IsSeparator);
    text.remove_prefix(static_cast<std::size_t>(first - text.begin()));
    if (text.empty()) return arguments;
    arguments.push_back(TakeArgument(text));
  }
}

std::string_view WithoutQuotes(std::string_view file) {
  const bool quoted = file.size() >= 2 && file.starts_with('"') && file.ends_with('"');
  return quoted ? file.substr(1, file.size() - 2) : file;
}

}  // namespace mox
