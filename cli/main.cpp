#include <iostream>

#include "cli/run.h"

int main(int argc, char** argv) {
  std::ios::sync_with_stdio(false);
  return mox::Run({argv + 1, argv + argc}, std::cin, std::cout, std::cerr);
}
