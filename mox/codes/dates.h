#pragma once

#include <cstdint>

#include "mox/foundation/dates.h"

namespace mox {

/// The days from Monday to Friday among `from`, the moment one day later, and so on, as far as they are not
/// later than `to`; 0 where `from` is later. Public holidays count.
std::int64_t WorkingDaysBetween(DateTime from, DateTime to);

/// A length of service.
struct Staz {
  int days = 0;
  int months = 0;
  int years = 0;
};

/// The length of service between two days, both counted. Months and days are counted as the law's forms count
/// them and not carried further: 12 months do not become a year, and days may come out as 0 or -1.
Staz CalcStaz(Date start, Date end);

}  // namespace mox
