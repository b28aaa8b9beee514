#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "moxd/http_types.h"

namespace mox {

/// What a request's path asks for.
struct RequestRoute {
  enum class Kind : std::uint8_t { kNone, kLogIn, kLogOut, kService, kWrite };
  Kind kind = Kind::kNone;
  std::string company;  ///< in small letters
  std::string service;  ///< decoded
};

/// Reads "/v1/login", "/v1/logout", "/v1/COMPANY/service/NAME" and "/v1/COMPANY/write". Answers null, or the
/// code of the error where it is none of them. A company's name stands as it is; any character that no name
/// has is refused, also by its code.
const char* FaultOfTarget(std::string_view target, RequestRoute& route);
/// The same of a whole header: what it says that no body can make good.
const char* FaultOfHead(const RequestHead& head, RequestRoute& route);

}  // namespace mox
