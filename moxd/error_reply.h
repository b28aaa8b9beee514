#pragma once

#include <span>
#include <string_view>

#include "moxd/http_types.h"

namespace mox {

/// An error that a client can tell by its code, which never changes.
struct ErrorCode {
  std::string_view code;
  unsigned status;
  std::string_view message;
  int retry_after = 0;  ///< seconds
};

/// All of them.
std::span<const ErrorCode> ErrorCodes();

/// {"code": ..., "message": ...}, with the code's own message where none is given. Raises Error for a code
/// that is not in the table.
Reply ErrorReply(std::string_view code, std::string_view message = {}, int retry_after = 0);

}  // namespace mox
