#include "tests/source_dir.h"

namespace mox {

std::string SourceDir() { return MOX_SOURCE_DIR; }

}  // namespace mox
