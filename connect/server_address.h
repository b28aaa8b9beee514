#pragma once

#include <string>
#include <string_view>

namespace mox {

/// Whether a company on a server may have this name, and what people are told where it may not.
bool IsCompanyName(std::string_view name);
inline constexpr std::string_view kCompanyNameRule =
    "the name of a company on a server has 1 to 48 letters a to z, digits, '-' and '_'";

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
