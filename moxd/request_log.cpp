#include "moxd/request_log.h"

#include <chrono>
#include <cmath>
#include <ctime>
#include <nlohmann/json.hpp>
#include <string>

namespace mox {
namespace {

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

double Milliseconds(double seconds) { return std::round(seconds * 1e5) / 100; }

}  // namespace

void RequestLog::Write(const std::string& line) {
  const std::scoped_lock lock(mutex_);
  std::fwrite(line.data(), 1, line.size(), stream_);
  std::fflush(stream_);
}

void RequestLog::Request(const RequestHead& head, const Reply& reply, double seconds, bool sent) {
  nlohmann::ordered_json json;
  json["time"] = Moment();
  json["event"] = "request";
  json["route"] = reply.route;
  if (!reply.company.empty()) json["company"] = reply.company;
  if (!reply.service.empty()) json["service"] = reply.service;
  json["status"] = reply.status;
  if (!reply.code.empty()) json["code"] = reply.code;
  json["bytes_in"] = head.length;
  json["bytes_out"] = reply.body.size();
  json["ms"] = Milliseconds(seconds);
  json["ms_waited"] = Milliseconds(reply.seconds_waited);
  json["ms_worked"] = Milliseconds(reply.seconds_worked);
  if (!sent) json["sent"] = false;
  Write(json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

void RequestLog::Event(std::string_view event, std::string_view detail) {
  nlohmann::ordered_json json;
  json["time"] = Moment();
  json["event"] = event;
  if (!detail.empty()) json["detail"] = detail;
  Write(json.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace) + "\n");
}

}  // namespace mox
