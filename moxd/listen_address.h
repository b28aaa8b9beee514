#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mox {

/// Where a server listens: a numeric address and a port.
struct ListenAddress {
  std::string host;        ///< "127.0.0.1", or "::1" without its brackets
  std::uint16_t port = 0;  ///< 0 is any that is free
  bool is_v6 = false;

  /// "127.0.0.1:8443" or "[::1]:8443"; nothing for any other text.
  static std::optional<ListenAddress> Parse(std::string_view text);

  bool IsLoopback() const;
  /// Whether both cannot be listened at.
  bool Overlaps(const ListenAddress& other) const;
  /// Raises Error where this computer does not have the address.
  void RequireHere() const;
};

}  // namespace mox
