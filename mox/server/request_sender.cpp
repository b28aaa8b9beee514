#include "mox/server/request_sender.h"

#include "mox/foundation/app.h"

namespace mox {

std::string FileInStateFolder(std::string_view name) {
  return App().Platform().StateFolder() + std::string(name);
}

bool RunRequestSender(std::string_view parameters) {
  AppPlatform& platform = App().Platform();
  const std::string file = '"' + platform.ApplicationFolder() + "CallAPIRequestSender.exe\"";
  const auto sender = platform.StartHidden(file, parameters);
  if (sender == nullptr) return false;
  while (sender->ExitCode() == kStillActive && !platform.IsTerminated()) platform.ProcessMessages();
  return true;
}

}  // namespace mox
