#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace mox {

/// Runs the command with the arguments after the program's name and returns its exit status: 0 done, 1
/// refused or faulty data, 2 wrong usage. A failing command prints nothing on `out` and one line on `err`.
int Run(const std::vector<std::string>& arguments, std::istream& in, std::ostream& out, std::ostream& err);

}  // namespace mox
