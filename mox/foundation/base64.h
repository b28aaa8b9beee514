#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace mox {

/// Bytes as a text of letters, digits, '+' and '/', filled up with '=' to groups of four (RFC 4648).
std::string ToBase64(std::string_view bytes);

/// The bytes of such a text, in which line breaks are passed over; none where it is none.
std::optional<std::string> FromBase64(std::string_view text);

}  // namespace mox
