#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace mox {

/// A day of the Gregorian calendar, as days since 1970-01-01.
struct Date {
  std::int32_t days = 0;
  friend constexpr auto operator<=>(Date, Date) = default;
};

/// A moment of a day without a time zone, as milliseconds since 1970-01-01T00:00:00.
struct DateTime {
  std::int64_t milliseconds = 0;
  friend constexpr auto operator<=>(DateTime, DateTime) = default;
};

struct CivilDate {
  int year = 1970;
  int month = 1;
  int day = 1;
};

inline constexpr std::int64_t kMillisecondsPerDay = 86'400'000;

/// None where the calendar has no such day, or the year is not one of 1 to 9999.
std::optional<Date> MakeDate(int year, int month, int day);
CivilDate ToCivil(Date date);

/// The day count begins at day 0, 30 December 1899: the number that a date is read as, with the time of day
/// as a fraction, and the date of a null.
inline constexpr Date kDayZero{-25'569};

DateTime StartOf(Date date);
/// The day of a moment; moments before 1970 too.
Date DayOf(DateTime moment);

/// "2024-03-01". None where the text is not just such a date.
std::optional<Date> ParseIsoDate(std::string_view text);
std::string FormatIsoDate(Date date);

/// "2024-03-01T09:05:00", with ".123" where there are milliseconds; the seconds may be left out on reading,
/// and a date alone is its midnight. None where the text is not just such a moment.
std::optional<DateTime> ParseIsoDateTime(std::string_view text);
std::string FormatIsoDateTime(DateTime moment);

}  // namespace mox
