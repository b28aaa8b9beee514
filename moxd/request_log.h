#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <cstdio>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "moxd/http_types.h"

namespace mox {

/// One line of JSON for each request and each event, for the system's journal. No line holds a token, a
/// password, the name or the address of a user, or anything of what is stored. Nobody waits for who takes the
/// lines: a few megabytes wait for him, then lines are dropped, and he is told how many.
class RequestLog {
 public:
  /// The stream stays the caller's.
  explicit RequestLog(std::FILE* stream);
  /// Waits a moment at most for who takes the last lines.
  ~RequestLog();
  RequestLog(const RequestLog&) = delete;
  RequestLog& operator=(const RequestLog&) = delete;

  /// Of a request with a body of that length.
  void Request(std::uint64_t length, const Reply& reply, double seconds, bool sent);
  /// Something that an operator has to know: "stopping", "database", with what an engine said.
  void Event(std::string_view event, std::string_view detail = {});
  /// Lines, since the beginning.
  std::uint64_t Dropped() const;

 private:
  void Write(const std::string& line);
  void Run();
  void Put(std::string_view text) const;

  const int descriptor_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::string lines_;          // that wait
  std::uint64_t dropped_ = 0;  // of them so many
  std::uint64_t told_ = 0;     // were told
  std::atomic<bool> ends_ = false;
  std::thread thread_;
};

}  // namespace mox
