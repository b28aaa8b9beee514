#include "moxd/request_log.h"

#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cmath>
#include <cstdint>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>

namespace mox {
namespace {

constexpr std::size_t kMostWaiting = 4U << 20U;
constexpr int kLook = 100;      // milliseconds
constexpr int kLastLooks = 10;  // once the log ends

// "2024-03-01T09:05:00.250Z".
std::string Moment() {
  const auto now = std::chrono::system_clock::now();
  const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
  const auto milliseconds =
      std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000;
  std::tm parts{};
  ::gmtime_r(&seconds, &parts);
  char text[40];
  const std::size_t size = std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &parts);
  std::snprintf(text + size, sizeof text - size, ".%03dZ", static_cast<int>(milliseconds));
  return text;
}

// A line that is written with each request: an object of the library for JSON would cost more than the
// request is read with.
class Line {
 public:
  explicit Line(std::string_view event) {
    Text("time", Moment());
    Text("event", event);
  }
  void Text(const char* name, std::string_view text) {
    Name(name);
    const bool is_plain = std::all_of(text.begin(), text.end(),
                                      [](char c) { return c >= ' ' && c < '\x7F' && c != '"' && c != '\\'; });
    if (is_plain) {
      text_.append(1, '"').append(text).append(1, '"');
    } else {
      text_ += nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
  }
  void TextIfAny(const char* name, std::string_view text) {
    if (!text.empty()) Text(name, text);
  }
  void Number(const char* name, std::uint64_t number) {
    Name(name);
    text_ += std::to_string(number);
  }
  void Milliseconds(const char* name, double seconds) {
    const auto hundredths = static_cast<std::uint64_t>(std::llround(std::max(seconds, 0.0) * 1e5));
    Number(name, hundredths / 100);
    text_ += {'.', static_cast<char>('0' + hundredths / 10 % 10), static_cast<char>('0' + hundredths % 10)};
  }
  void NotSent() {
    Name("sent");
    text_ += "false";
  }
  std::string End() && { return std::move(text_) + "}\n"; }

 private:
  void Name(const char* name) { text_.append(text_.empty() ? "{\"" : ",\"").append(name).append("\":"); }

  std::string text_;
};

}  // namespace

RequestLog::RequestLog(std::FILE* stream) : descriptor_(::fileno(stream)), thread_([this] { Run(); }) {}

RequestLog::~RequestLog() {
  {
    const std::scoped_lock lock(mutex_);
    ends_ = true;
    changed_.notify_one();
  }
  thread_.join();
}

void RequestLog::Write(const std::string& line) {
  const std::scoped_lock lock(mutex_);
  if (lines_.size() + line.size() > kMostWaiting) {
    ++dropped_;
    return;
  }
  lines_ += line;
  changed_.notify_one();
}

void RequestLog::Run() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ends_ || !lines_.empty(); });
    if (lines_.empty()) return;
    std::string text = std::exchange(lines_, {});
    if (const std::uint64_t dropped = dropped_ - std::exchange(told_, dropped_); dropped > 0) {
      Line line("log");
      line.Text("detail", std::to_string(dropped) + " lines were dropped, as nobody took them");
      text += std::move(line).End();
    }
    lock.unlock();
    Put(text);
    lock.lock();
  }
}

// So much at a time as a pipe with room takes without waiting.
void RequestLog::Put(std::string_view text) const {
  for (int looks = 0; !text.empty() && looks < kLastLooks;) {
    pollfd wanted{descriptor_, POLLOUT, 0};
    if (::poll(&wanted, 1, kLook) <= 0) {
      if (ends_) ++looks;
      continue;
    }
    const ssize_t size = ::write(descriptor_, text.data(), std::min<std::size_t>(text.size(), PIPE_BUF));
    if (size < 0 && errno != EINTR && errno != EAGAIN) return;  // nobody is there who could be told
    if (size > 0) text.remove_prefix(static_cast<std::size_t>(size));
  }
}

std::uint64_t RequestLog::Dropped() const {
  const std::scoped_lock lock(mutex_);
  return dropped_;
}

void RequestLog::Request(std::uint64_t length, const Reply& reply, double seconds, bool sent) {
  Line line("request");
  line.Text("route", reply.route);
  line.TextIfAny("company", reply.company);
  line.TextIfAny("service", reply.service);
  line.Number("status", static_cast<std::uint64_t>(reply.status));
  line.TextIfAny("code", reply.code);
  line.Number("bytes_in", length);
  line.Number("bytes_out", reply.body.size());
  line.Milliseconds("ms", seconds);
  line.Milliseconds("ms_waited", reply.seconds_waited);
  line.Milliseconds("ms_worked", reply.seconds_worked);
  if (!sent) line.NotSent();
  Write(std::move(line).End());
}

void RequestLog::Event(std::string_view event, std::string_view detail) {
  Line line(event);
  line.TextIfAny("detail", detail);
  Write(std::move(line).End());
}

}  // namespace mox
