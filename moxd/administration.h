#pragma once

#include <iosfwd>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

class Accounts;

/// What the program's command line can do to its accounts, a line each, for its help.
std::string_view AdministrationUsage();

/// Whether a word is the first one of such a command: user, grant, token, company.
bool IsAdministration(std::string_view word);

/// The streams of the program.
struct AdministrationStreams {
  std::istream& in;
  std::ostream& out;
  std::ostream& err;
  /// Passwords are asked for, and typed without being seen; else one is a line of `in`.
  bool is_terminal = false;
};

/// Runs `words`, "user add ana ...". Answers the program's exit status: 0, 1 where it was refused, 2 where it
/// was not understood. Raises DatabaseUnavailable where the directory fails.
int RunAdministration(Accounts& accounts, const std::vector<std::string>& words,
                      AdministrationStreams& streams);

}  // namespace mox
