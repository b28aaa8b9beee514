#include "mox/foundation/clock.h"

#include <chrono>
#include <ctime>

namespace mox {
namespace {

std::tm LocalTime(std::time_t seconds) {
  std::tm local = {};
#ifdef _WIN32
  localtime_s(&local, &seconds);
#else
  localtime_r(&seconds, &local);
#endif
  return local;
}

}  // namespace

DateTime LocalTimeOf(std::int64_t seconds) {
  const std::tm local = LocalTime(static_cast<std::time_t>(seconds));
  const Date day = MakeDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday).value();
  const std::int64_t of_day = (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
  return {StartOf(day).milliseconds + of_day * 1000};
}

DateTime LocalNow() {
  const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const std::int64_t milliseconds = now.time_since_epoch().count();
  return {LocalTimeOf(milliseconds / 1000).milliseconds + milliseconds % 1000};
}

Date Today() { return DayOf(LocalNow()); }

}  // namespace mox
