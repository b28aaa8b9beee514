// Runs a target over the files of a folder, without a fuzzer.

#include <cstdio>
#include <filesystem>

#include "fuzz/fuzz_target.h"
#include "mox/foundation/files.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  int files = 0;
  for (const auto& entry : std::filesystem::directory_iterator(argv[1])) {
    const std::string path = entry.path().string();
    std::printf("%s\n", path.c_str());
    std::fflush(stdout);
    const std::string text = mox::ReadWholeFile(path);
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    ++files;
  }
  return files > 0 ? 0 : 1;
}
