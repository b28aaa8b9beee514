#pragma once

#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "mox/foundation/record_set.h"

namespace mox {

using Values = std::vector<Value>;

/// An open set with one field of each kind, named by it, in the order of FieldKind.
inline RecordSet AllKinds(const std::vector<Values>& records = {}) {
  RecordSet set("sve");
  for (std::size_t i = 0; i < kFieldKindCount; ++i) {
    const auto kind = static_cast<FieldKind>(i);
    set.DefineField(KindName(kind), kind);
  }
  set.Open();
  for (const Values& record : records) set.AppendRecord(record);
  return set;
}

inline Values ValuesOf(const RecordSet& set) {
  Values values;
  for (std::size_t i = 0; i < set.FieldCount(); ++i) values.push_back(set.AsVariant(i));
  return values;
}

/// A value from "KIND:TEXT": "float:0.5". Amounts are in ten-thousandths, dates in the ISO form; "null" is
/// none.
inline Value ValueFrom(const std::string& typed) {
  const std::size_t colon = std::min(typed.find(':'), typed.size() - 1);
  const std::string kind = typed.substr(0, colon);
  const std::string text = typed.substr(colon + 1);
  if (kind == "text") return text;
  if (kind == "integer") return std::int64_t{std::stoll(text)};
  if (kind == "boolean") return text == "true";
  if (kind == "float") return std::strtod(text.c_str(), nullptr);
  if (kind == "currency") return Currency::FromScaled(std::stoll(text));
  if (kind == "date") return ParseIsoDate(text).value();
  if (kind == "datetime") return ParseIsoDateTime(text).value();
  EXPECT_EQ(typed, "null");
  return Value();
}

/// Records of all kinds: nulls, zeros and empty texts, ordinary values, the two ends of each kind.
inline std::vector<Values> Samples() {
  using Integers = std::numeric_limits<std::int64_t>;
  using Doubles = std::numeric_limits<double>;
  std::string bytes = "\r\n\t\"~ 3:\xC4\xFF ";
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(static_cast<unsigned char>(byte));
  const std::string planes = "čćđšž € 𝄞 \U0010FFFF \uFFFD\u0301 \uE000";
  return {Values(kFieldKindCount),
          {"", std::int64_t{0}, false, 0.0, Currency(), Date(), DateTime(), ""},
          {planes, std::int64_t{-7}, true, 0.1, Currency::FromScaled(-123'456), *ParseIsoDate("2024-02-29"),
           *ParseIsoDateTime("1969-12-31T23:59:59.001"), bytes},
          {std::string(70'000, 'x') + bytes, Integers::max(), true, Doubles::max(),
           Currency::FromScaled(Integers::max()), *MakeDate(9999, 12, 31),
           *ParseIsoDateTime("9999-12-31T23:59:59.999"), std::string(254, '\0')},
          {std::string(255, 'y'), Integers::min(), false, -Doubles::denorm_min(),
           Currency::FromScaled(Integers::min()), *MakeDate(1, 1, 1), StartOf(*MakeDate(1, 1, 1)),
           std::string(20'000, '\xFF')}};
}

}  // namespace mox
