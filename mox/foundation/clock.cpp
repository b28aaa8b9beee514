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

DateTime LocalNow() {
  const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const std::tm local = LocalTime(std::chrono::system_clock::to_time_t(now));
  const Date today = MakeDate(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday).value();
  const std::int64_t of_day = (local.tm_hour * 60 + local.tm_min) * 60 + local.tm_sec;
  return {StartOf(today).milliseconds + of_day * 1000 + now.time_since_epoch().count() % 1000};
}

Date Today() { return DayOf(LocalNow()); }

}  // namespace mox
