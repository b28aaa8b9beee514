#include "appserver/descriptors.h"

#if !defined(_WIN32)
#include <fcntl.h>
#include <unistd.h>
#endif

#include <array>
#include <cerrno>

namespace mox {

#if defined(_WIN32)
bool LacksDescriptors() { return false; }
#else
bool LacksDescriptors() {
  constexpr std::size_t kOfDatabase = 5;  // the file, its log and the log's index, and two that keep locks
  std::array<int, kOfDatabase> opened{};
  bool lacks = false;
  for (int& descriptor : opened) {
    descriptor = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    lacks = lacks || (descriptor < 0 && (errno == EMFILE || errno == ENFILE));
  }
  for (const int descriptor : opened) {
    if (descriptor >= 0) ::close(descriptor);
  }
  return lacks;
}
#endif

}  // namespace mox
