#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "cli/run.h"

namespace mox {

struct Outcome {
  int status = 0;
  std::string out;
  std::string err;
};

/// What the command does with these arguments and this input.
inline Outcome RunWith(const std::vector<std::string>& arguments, const std::string& input = "") {
  std::istringstream in(input);
  std::ostringstream out;
  std::ostringstream err;
  const int status = Run(arguments, in, out, err);
  return {status, out.str(), err.str()};
}

}  // namespace mox
