#include "mox/codes/dates.h"

#include <chrono>

namespace mox {
namespace {

namespace chr = std::chrono;

constexpr unsigned kWeekend = 5;  // the week begins with Monday as 0

unsigned Weekday(Date date) { return chr::weekday{chr::sys_days{chr::days{date.days}}}.iso_encoding() - 1; }

int DaysInMonth(int year, int month) {
  const chr::year_month_day_last last{chr::year{year} / month / chr::last};
  return static_cast<int>(unsigned{last.day()});
}

}  // namespace

std::int64_t WorkingDaysBetween(DateTime from, DateTime to) {
  if (from > to) return 0;
  // Unsigned, as the difference of any two moments fits.
  const std::uint64_t between =
      static_cast<std::uint64_t>(to.milliseconds) - static_cast<std::uint64_t>(from.milliseconds);
  const auto days = static_cast<std::int64_t>(between / kMillisecondsPerDay) + 1;
  std::int64_t working = days / 7 * 5;
  const unsigned first = Weekday(DayOf(from));
  for (unsigned day = first; day < first + days % 7; ++day) {
    if (day % 7 < kWeekend) ++working;
  }
  return working;
}

Staz CalcStaz(Date start, Date end) {
  const CivilDate from = ToCivil(start);
  CivilDate to = ToCivil(end);  // moves back when a month or a year is borrowed
  int end_day = to.day;
  if (end_day < from.day) {
    if (--to.month == 0) {
      to.month = 12;
      --to.year;
    }
    end_day += DaysInMonth(to.year, to.month);
  }
  int end_month = to.month;
  if (end_month < from.month) {
    --to.year;
    end_month += 12;
  }
  Staz staz{end_day - from.day + 1, end_month - from.month, to.year - from.year};
  if (staz.days == DaysInMonth(to.year, to.month)) {
    staz.days = 0;
    ++staz.months;
  }
  return staz;
}

}  // namespace mox
