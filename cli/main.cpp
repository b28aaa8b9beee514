#include <csignal>
#include <iostream>

#include "cli/run.h"

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
#if defined(SIGPIPE)
  std::signal(SIGPIPE, SIG_IGN);  // what was stored is told although nobody reads the result
#endif
#if defined(SIGXFSZ)
  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error like any other
#endif
  return mox::Run({argv + 1, argv + argc}, std::cin, std::cout, std::cerr);
}
