#pragma once

#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string_view>

#include "moxd/http_types.h"

namespace mox {

/// One line of JSON for each request and each event, for the system's journal. No line holds a token, a
/// password, the name or the address of a user, or anything of what is stored.
class RequestLog {
 public:
  /// The stream stays the caller's.
  explicit RequestLog(std::FILE* stream) : stream_(stream) {}

  /// Of a request with a body of that length.
  void Request(std::uint64_t length, const Reply& reply, double seconds, bool sent);
  /// Something that an operator has to know: "stopping", "database", with what an engine said.
  void Event(std::string_view event, std::string_view detail = {});

 private:
  void Write(const std::string& line);

  std::mutex mutex_;
  std::FILE* stream_;
};

}  // namespace mox
