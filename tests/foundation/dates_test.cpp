#include "mox/foundation/dates.h"

#include <gtest/gtest.h>

#include "case_file.h"

namespace mox {
namespace {

TEST(Dates, KnowTheCalendar) {
  ForEachCase<4>("dates", "calendar", [](auto& year, auto& month, auto& day, auto& days) {
    const auto date = MakeDate(std::stoi(year), std::stoi(month), std::stoi(day));
    ASSERT_EQ(date ? std::to_string(date->days) : "none", days);
    if (!date) return;
    const CivilDate civil = ToCivil(*date);
    EXPECT_EQ(MakeDate(civil.year, civil.month, civil.day), date);
    EXPECT_EQ(std::to_string(civil.year) + std::to_string(civil.month), year + month);
    EXPECT_EQ(DayOf(StartOf(*date)), *date);
    EXPECT_EQ(DayOf({StartOf(*date).milliseconds - 1}).days, date->days - 1);
    EXPECT_EQ(DayOf({StartOf(*date).milliseconds + kMillisecondsPerDay - 1}), *date);
  });
}

TEST(Dates, ReadAndWriteTheIsoForm) {
  ForEachCase<3>("dates", "iso", [](auto& text, auto& expected_date, auto& expected_moment) {
    const auto date = ParseIsoDate(text);
    const auto moment = ParseIsoDateTime(text);
    EXPECT_EQ(date ? FormatIsoDate(*date) : "none", expected_date);
    EXPECT_EQ(moment ? FormatIsoDateTime(*moment) : "none", expected_moment);
  });
}

}  // namespace
}  // namespace mox
