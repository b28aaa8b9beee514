#include "mox/foundation/dates.h"

#include <chrono>
#include <cstdio>

namespace mox {
namespace {

namespace chr = std::chrono;

// Takes exactly `width` digits from the front of the text.
std::optional<int> TakeDigits(std::string_view& text, std::size_t width) {
  if (text.size() < width) return std::nullopt;
  int value = 0;
  for (std::size_t i = 0; i < width; ++i) {
    if (text[i] < '0' || text[i] > '9') return std::nullopt;
    value = value * 10 + (text[i] - '0');
  }
  text.remove_prefix(width);
  return value;
}

bool Take(std::string_view& text, char expected) {
  if (text.empty() || text.front() != expected) return false;
  text.remove_prefix(1);
  return true;
}

std::optional<Date> TakeIsoDate(std::string_view& text) {
  const auto year = TakeDigits(text, 4);
  if (!year || !Take(text, '-')) return std::nullopt;
  const auto month = TakeDigits(text, 2);
  if (!month || !Take(text, '-')) return std::nullopt;
  const auto day = TakeDigits(text, 2);
  if (!day) return std::nullopt;
  return MakeDate(*year, *month, *day);
}

// "hh:mm", "hh:mm:ss" or "hh:mm:ss.mmm", as milliseconds of the day.
std::optional<std::int64_t> TakeIsoTime(std::string_view& text) {
  const auto hour = TakeDigits(text, 2);
  if (!hour || *hour > 23 || !Take(text, ':')) return std::nullopt;
  const auto minute = TakeDigits(text, 2);
  if (!minute || *minute > 59) return std::nullopt;
  std::optional<int> second = 0;
  std::optional<int> milliseconds = 0;
  if (Take(text, ':')) {
    second = TakeDigits(text, 2);
    if (!second || *second > 59) return std::nullopt;
    if (Take(text, '.')) milliseconds = TakeDigits(text, 3);
    if (!milliseconds) return std::nullopt;
  }
  return ((*hour * 60 + *minute) * 60 + *second) * std::int64_t{1000} + *milliseconds;
}

}  // namespace

std::optional<Date> MakeDate(int year, int month, int day) {
  if (year < 1 || year > 9999 || month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  const chr::year_month_day civil{chr::year{year}, chr::month{static_cast<unsigned>(month)},
                                  chr::day{static_cast<unsigned>(day)}};
  if (!civil.ok()) return std::nullopt;
  return Date{static_cast<std::int32_t>(chr::sys_days{civil}.time_since_epoch().count())};
}

CivilDate ToCivil(Date date) {
  const chr::year_month_day civil{chr::sys_days{chr::days{date.days}}};
  return {int{civil.year()}, static_cast<int>(unsigned{civil.month()}),
          static_cast<int>(unsigned{civil.day()})};
}

DateTime StartOf(Date date) { return {date.days * kMillisecondsPerDay}; }

Date DayOf(DateTime moment) {
  const std::int64_t shifted = moment.milliseconds % kMillisecondsPerDay < 0 ? 1 : 0;
  return {static_cast<std::int32_t>(moment.milliseconds / kMillisecondsPerDay - shifted)};
}

std::optional<Date> ParseIsoDate(std::string_view text) {
  const auto date = TakeIsoDate(text);
  return text.empty() ? date : std::nullopt;
}

std::string FormatIsoDate(Date date) {
  const CivilDate civil = ToCivil(date);
  char text[32];
  std::snprintf(text, sizeof text, "%04d-%02d-%02d", civil.year, civil.month, civil.day);
  return text;
}

std::optional<DateTime> ParseIsoDateTime(std::string_view text) {
  const auto date = TakeIsoDate(text);
  if (!date) return std::nullopt;
  if (text.empty()) return StartOf(*date);
  if (!Take(text, 'T')) return std::nullopt;
  const auto time = TakeIsoTime(text);
  if (!time || !text.empty()) return std::nullopt;
  return DateTime{StartOf(*date).milliseconds + *time};
}

std::string FormatIsoDateTime(DateTime moment) {
  const Date date = DayOf(moment);
  const auto rest = static_cast<int>(moment.milliseconds - StartOf(date).milliseconds);
  char text[32];
  std::snprintf(text, sizeof text, "T%02d:%02d:%02d", rest / 3'600'000, rest / 60'000 % 60, rest / 1000 % 60);
  std::string result = FormatIsoDate(date) + text;
  if (rest % 1000 != 0) {
    std::snprintf(text, sizeof text, ".%03d", rest % 1000);
    result += text;
  }
  return result;
}

}  // namespace mox
