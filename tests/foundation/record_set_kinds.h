#pragma once

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
