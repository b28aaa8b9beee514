#include "mox/foundation/value_conversion.h"

#include <gtest/gtest.h>

#include "case_file.h"
#include "record_set_kinds.h"
#include "tests/foundation/case_file.h"

namespace mox {
namespace {

constexpr std::size_t kKinds = kFieldKindCount - 1;  // a binary is as a text

// What each call gives, as a text.
template <typename Call>
std::string InEveryKind(const Call& call) {
  std::string result;
  for (std::size_t i = 0; i < kKinds; ++i) {
    const std::string text = TextOrError([&] { return call(i); });
    result += (text == "!ConversionError" ? "!" : text == "!Overflow" ? ">" : text) + "|";
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
  RecordSet set = AllKinds({Samples()[2]});
  set.Edit();
  ExpectTables("value_conversion", {{"kinds", [&](auto& row) {
                                       const Value value = ValueFrom(row.at(0));
                                       const std::string written = WrittenInEveryKind(set, value);
                                       const std::size_t own =
                                           value.index() -
                                           1;  // the alternatives stand in the order of the kinds
                                       set.SetVariant(own, value);
                                       EXPECT_EQ(ReadInEveryKind(set, own), written);
                                       return written;
                                     }}});
  EXPECT_EQ(WrittenInEveryKind(set, " "), " |~|~|~|~|~|~|");
  EXPECT_EQ(WrittenInEveryKind(set, Value()), "~|~|~|~|~|~|~|");
  EXPECT_EQ(ReadInEveryKind(set, 3), "|0|False|0|0,00|30.12.1899|30.12.1899|");
  // a moment survives the way over its day count, to the millisecond
  for (const char* text : {"0001-01-01T00:00:00.001", "1899-12-29T23:59:59.999", "9999-12-31T23:59:59.999"}) {
    const DateTime moment = *ParseIsoDateTime(text);
    EXPECT_EQ(ToDateTime(ToFloat(moment)), moment) << text;
  }
  EXPECT_ERROR(set.SetFloat(3, HUGE_VAL), "!Overflow float: only finite numbers are stored");
  EXPECT_ERROR(set.SetDate(5, Date{std::numeric_limits<std::int32_t>::max()}),
               "!Overflow date: date is outside the years 1 to 9999");
  EXPECT_ERROR(set.SetDateTime(6, DateTime{std::numeric_limits<std::int64_t>::min()}),
               "!Overflow datetime: date is outside the years 1 to 9999");
}

}  // namespace
}  // namespace mox
