#include "mox/foundation/value_conversion.h"

#include <gtest/gtest.h>

#include <limits>

#include "mox/foundation/error.h"
#include "mox/foundation/record_set.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

// The value in every kind, in texts of exchange; "!" where it cannot be converted, ">" where it does not fit.
std::string InEveryKind(const Value& value) {
  std::string result;
  const auto add = [&](auto convert) {
    try {
      result += convert();
    } catch (const ConversionError&) {
      result += '!';
    } catch (const Overflow&) {
      result += '>';
    }
    result += '|';
  };
  add([&] { return std::to_string(ToInteger(value)); });
  add([&] { return std::string(ToBoolean(value) ? "yes" : "no"); });
  add([&] { return ShortestNumber(ToFloat(value)); });
  add([&] { return ToCurrency(value).ToString(); });
  add([&] { return FormatIsoDate(ToDate(value)); });
  add([&] { return FormatIsoDateTime(ToDateTime(value)); });
  return result + ToText(value);
}

TEST(ValueConversion, BetweenAllKinds) {
  using Integers = std::numeric_limits<std::int64_t>;
  const Date day = *ParseIsoDate("2024-03-01");
  const DateTime moment = *ParseIsoDateTime("1969-12-31T23:59:59.999");
  const struct {
    Value value;
    const char* kinds;
  } rows[] = {
      {Value(), "0|no|0|0.00|1970-01-01|1970-01-01T00:00:00|"},
      {std::int64_t{-7}, "-7|yes|-7|-7.00|!|!|-7"},
      {Integers::max(), "9223372036854775807|yes|9.223372036854776e+18|>|!|!|9223372036854775807"},
      {true, "1|yes|1|1.00|!|!|True"},
      {false, "0|no|0|0.00|!|!|False"},
      {-12.99, "-12|yes|-12.99|-12.99|!|!|-12,99"},
      {0.00005, "0|yes|0.00005|0.0001|!|!|0,00005"},
      {0x1p63, ">|yes|9.223372036854776e+18|>|!|!|9,223372036854776e+18"},
      {-0x1p63, "-9223372036854775808|yes|-9.223372036854776e+18|>|!|!|-9,223372036854776e+18"},
      {Currency::FromScaled(-129'999), "-12|yes|-12.9999|-12.9999|!|!|-12,9999"},
      {Currency::FromScaled(1), "0|yes|0.0001|0.0001|!|!|0,0001"},
      {day, "!|!|!|!|2024-03-01|2024-03-01T00:00:00|01.03.2024"},
      {moment, "!|!|!|!|1969-12-31|1969-12-31T23:59:59.999|31.12.1969 23:59:59"},
      {" 12,5 ", "12|yes|12.5|12.50|!|!| 12,5 "},
      {"-0,00005", "0|yes|-0.00005|0.00|!|!|-0,00005"},
      {"1e3", "1000|yes|1000|1000.00|!|!|1e3"},
      {"9223372036854775807", "9223372036854775807|yes|9.223372036854776e+18|>|!|!|9223372036854775807"},
      {"1e400", ">|>|>|>|!|!|1e400"},
      {"12.5", "!|!|!|!|!|!|12.5"},
      {"1.234,50", "!|!|!|!|!|!|1.234,50"},
      {" TRUE", "!|yes|!|!|!|!| TRUE"},
      {"01.03.2024.", "!|!|!|!|2024-03-01|2024-03-01T00:00:00|01.03.2024."},
      {"1.3.2024 09:05", "!|!|!|!|2024-03-01|2024-03-01T09:05:00|1.3.2024 09:05"},
      {"2024-03-01", "!|!|!|!|!|!|2024-03-01"},
      {"", "!|!|!|!|!|!|"}};
  for (const auto& row : rows) EXPECT_EQ(InEveryKind(row.value), row.kinds);
}

}  // namespace
}  // namespace mox
