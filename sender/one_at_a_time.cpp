#include "sender/one_at_a_time.h"

#include "mox/foundation/error.h"

#ifdef _WIN32

#include <windows.h>

namespace mox {

void WaitForOtherSenders(const std::string& /*folder*/) {
  const HANDLE mutex = ::CreateMutexA(nullptr, FALSE, "CallAPIRequestSender");
  if (mutex == nullptr || ::WaitForSingleObject(mutex, INFINITE) == WAIT_FAILED) {
    throw Error("it is not known whether another sender is at work");
  }
}

}  // namespace mox

#else

#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>

namespace mox {

void WaitForOtherSenders(const std::string& folder) {
  const int descriptor = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  int result = -1;
  do {
    result = descriptor < 0 ? -1 : ::flock(descriptor, LOCK_EX);
  } while (result != 0 && descriptor >= 0 && errno == EINTR);
  if (result != 0) throw Error(folder + ": it is not known whether another sender is at work");
}

}  // namespace mox

#endif
