#pragma once

#include <string>
#include <string_view>

namespace mox {

/// The path of a file that the library and the request sender hand each other.
std::string FileInStateFolder(std::string_view name);

/// Starts the request sender of the application's folder without a window, and waits until it has ended or
/// the application is terminating; meanwhile the user interface processes its messages. There is no time
/// limit, and the exit code says nothing: what the sender did is seen from the files that it leaves. False
/// when it cannot be started.
///
/// It takes " -servicetype NAME" and the parameters of that service, as one text.
bool RunRequestSender(std::string_view parameters);

}  // namespace mox
