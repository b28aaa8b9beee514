#include "mox/foundation/value_conversion.h"

#include <gtest/gtest.h>

#include "mox/foundation/error.h"
#include "record_set_kinds.h"

namespace mox {
namespace {

constexpr std::size_t kKinds = kFieldKindCount - 1;  // a binary is as a text

// What each call gives, as a text; "!" where a value cannot be converted, ">" where it does not fit.
template <typename Call>
std::string InEveryKind(const Call& call) {
  std::string result;
  for (std::size_t i = 0; i < kKinds; ++i) {
    try {
      result += call(i);
    } catch (const ConversionError&) {
      result += '!';
    } catch (const Overflow&) {
      result += '>';
    }
    result += '|';
  }
  return result;
}

std::string ReadInEveryKind(const RecordSet& set, std::size_t index) {
  const std::function<Value(std::size_t)> reads[kKinds] = {
      [&](std::size_t i) { return set.AsText(i); },     [&](std::size_t i) { return set.AsInteger(i); },
      [&](std::size_t i) { return set.AsBoolean(i); },  [&](std::size_t i) { return set.AsFloat(i); },
      [&](std::size_t i) { return set.AsCurrency(i); }, [&](std::size_t i) { return set.AsDate(i); },
      [&](std::size_t i) { return set.AsDateTime(i); }};
  return InEveryKind([&](std::size_t kind) { return ToText(reads[kind](index)); });
}

// Writing converts into the kind of the field and leaves it alone when that fails.
std::string WrittenInEveryKind(RecordSet& set, const Value& value) {
  return InEveryKind([&](std::size_t i) {
    const Value before = set.AsVariant(i);
    try {
      set.SetVariant(i, value);
    } catch (const Error& error) {
      EXPECT_EQ(set.AsVariant(i), before);
      EXPECT_TRUE(std::string(error.what()).starts_with(set.Definition(i).name + ": ")) << error.what();
      throw;
    }
    return set.IsNull(i) ? "~" : set.AsText(i);
  });
}

TEST(ValueConversion, BetweenAllKinds) {
  using Integers = std::numeric_limits<std::int64_t>;
  const struct {
    Value value;
    const char* texts;
  } rows[] = {
      {std::int64_t{-7}, "-7|-7|True|-7|-7,00|!|!|"},
      {Integers::max(), "9223372036854775807|9223372036854775807|True|9,223372036854776e+18|>|!|!|"},
      {true, "True|1|True|1|1,00|!|!|"},
      {-12.99, "-12,99|-12|True|-12,99|-12,99|!|!|"},
      {0.00005, "0,00005|0|True|0,00005|0,0001|!|!|"},
      {0.0, "0|0|False|0|0,00|!|!|"},
      {0x1p63, "9,223372036854776e+18|>|True|9,223372036854776e+18|>|!|!|"},
      {-0x1p63, "-9,223372036854776e+18|-9223372036854775808|True|-9,223372036854776e+18|>|!|!|"},
      {Currency::FromScaled(-129'999), "-12,9999|-12|True|-12,9999|-12,9999|!|!|"},
      {*MakeDate(2024, 3, 1), "01.03.2024|!|!|!|!|01.03.2024|01.03.2024|"},
      {DateTime{-1}, "31.12.1969 23:59:59|!|!|!|!|31.12.1969|31.12.1969 23:59:59|"},
      {" 12,5 ", " 12,5 |12|True|12,5|12,50|!|!|"},
      {"-0,00005", "-0,00005|0|True|-0,00005|0,00|!|!|"},
      {"9223372036854775807", "9223372036854775807|9223372036854775807|True|9,223372036854776e+18|>|!|!|"},
      {"1e400", "1e400|>|>|>|>|!|!|"},
      {"12.5", "12.5|!|!|!|!|!|!|"},
      {"1.234,50", "1.234,50|!|!|!|!|!|!|"},
      {" TRUE", " TRUE|!|True|!|!|!|!|"},
      {"01.03.2024.", "01.03.2024.|!|!|!|!|01.03.2024|01.03.2024|"},
      {"1.3.2024 09:05", "1.3.2024 09:05|!|!|!|!|01.03.2024|01.03.2024 09:05:00|"}};
  RecordSet set = AllKinds({Samples()[2]});
  set.Edit();
  for (const auto& row : rows) {
    EXPECT_EQ(WrittenInEveryKind(set, row.value), row.texts);
    const std::size_t own = row.value.index() - 1;  // the alternatives stand in the order of the kinds
    set.SetVariant(own, row.value);
    EXPECT_EQ(ReadInEveryKind(set, own), row.texts);
  }
  EXPECT_EQ(WrittenInEveryKind(set, " "), " |~|~|~|~|~|~|");
  EXPECT_EQ(WrittenInEveryKind(set, Value()), "~|~|~|~|~|~|~|");
  EXPECT_EQ(ReadInEveryKind(set, 3), "|0|False|0|0,00|01.01.1970|01.01.1970|");
  EXPECT_THROW(set.SetFloat(3, HUGE_VAL), Overflow);
  EXPECT_THROW(set.SetDate(5, Date{std::numeric_limits<std::int32_t>::max()}), Overflow);
  EXPECT_THROW(set.SetDateTime(6, DateTime{Integers::min()}), Overflow);
}

}  // namespace
}  // namespace mox
