#include "mox/foundation/record_walk.h"

#include <exception>

namespace mox {

void SavedPosition::Restore() {
  done_ = true;
  if (bookmark_) set_.GotoBookmark(*bookmark_);
}

SavedPosition::~SavedPosition() {
  if (done_) return;
  try {
    Restore();
  } catch (const std::exception&) {
    done_ = true;  // the walk was left by an error, which is the one to report
  }
}

}  // namespace mox
