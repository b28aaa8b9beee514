#include "mox/foundation/dates.h"

#include <gtest/gtest.h>

namespace mox {
namespace {

TEST(Dates, KnowTheCalendar) {
  const struct {
    int year, month, day;
    std::optional<std::int32_t> days;
  } rows[] = {{1970, 1, 1, 0},       {1969, 12, 31, -1},  {2000, 2, 29, 11'016},
              {2024, 2, 29, 19'782}, {1, 1, 1, -719'162}, {9999, 12, 31, 2'932'896},
              {1900, 2, 29, {}},     {2023, 2, 29, {}},   {2024, 4, 31, {}},
              {2024, 13, 1, {}},     {2024, 0, 1, {}},    {2024, 1, 0, {}},
              {2024, 1, -1, {}},     {0, 1, 1, {}},       {10'000, 1, 1, {}},
              {2024, 1, 257, {}}};
  for (const auto& row : rows) {
    const auto date = MakeDate(row.year, row.month, row.day);
    ASSERT_EQ(date.has_value(), row.days.has_value()) << row.year << "-" << row.month << "-" << row.day;
    if (!date) continue;
    EXPECT_EQ(date->days, row.days) << row.year << "-" << row.month << "-" << row.day;
    const CivilDate civil = ToCivil(*date);
    EXPECT_EQ(civil.year, row.year);
    EXPECT_EQ(civil.month, row.month);
    EXPECT_EQ(civil.day, row.day);
    EXPECT_EQ(DayOf(StartOf(*date)), *date);
    EXPECT_EQ(DayOf({StartOf(*date).milliseconds - 1}).days, date->days - 1);
    EXPECT_EQ(DayOf({StartOf(*date).milliseconds + kMillisecondsPerDay - 1}), *date);
  }
}

TEST(Dates, ReadAndWriteTheIsoForm) {
  const struct {
    const char* text;
    const char* written;  // null where it is a date alone
  } rows[] = {{"2024-03-01", nullptr},
              {"0001-01-01", nullptr},
              {"2024-03-01T09:05", "2024-03-01T09:05:00"},
              {"2024-03-01T23:59:59", "2024-03-01T23:59:59"},
              {"1969-12-31T23:59:59.999", "1969-12-31T23:59:59.999"},
              {"2024-03-01T09:05:00.000", "2024-03-01T09:05:00"},
              {"2024-03-01T09:05:00.007", "2024-03-01T09:05:00.007"}};
  for (const auto& row : rows) {
    const auto date = ParseIsoDate(row.text);
    const auto moment = ParseIsoDateTime(row.text);
    ASSERT_EQ(date.has_value(), row.written == nullptr) << row.text;
    ASSERT_TRUE(moment.has_value()) << row.text;
    EXPECT_EQ(FormatIsoDateTime(*moment), row.written ? row.written : row.text + std::string("T00:00:00"));
    EXPECT_EQ(date ? FormatIsoDate(*date) : row.text, row.text);
  }
  for (const char* text :
       {"", "2024-3-1", "2024-02-30", "0000-01-01", "-024-03-01", "2024-03-01 ", " 2024-03-01", "2024/03/01",
        "2024-03-01T", "2024-03-01T9:05", "2024-03-01T24:00", "2024-03-01T23:60", "2024-03-01T23:59:60",
        "2024-03-01T23:59:", "2024-03-01T23:59:00.12", "2024-03-01T23:59:00.1234", "2024-03-01T23:59.123",
        "2024-03-01T23:59:00Z"}) {
    EXPECT_EQ(ParseIsoDate(text), std::nullopt) << text;
    EXPECT_EQ(ParseIsoDateTime(text), std::nullopt) << text;
  }
}

}  // namespace
}  // namespace mox
