#pragma once

#include <string>
#include <string_view>

namespace mox {

/// Where an application server is, and which of its companies is meant: "https://HOST:PORT/COMPANY".
struct ServerAddress {
  std::string
      server;  ///< "https://host:8443", in small letters, without a slash or the usual port at its end
  std::string company;  ///< empty where only the server is named

  /// Raises Error that says what is wrong. The port is 443 where none is given. A path of more than a
  /// company, a question mark, a user or a password are refused, and so is anything but https.
  static ServerAddress Parse(std::string_view text);
};

}  // namespace mox
