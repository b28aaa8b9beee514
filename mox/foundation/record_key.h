#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/field.h"
#include "mox/foundation/record_table.h"

namespace mox {

struct LocateOptions {
  bool case_insensitive = false;
};

/// Values of some fields, which a record is looked for by. Values are compared in the kind of their field;
/// null equals null.
class RecordKey {
 public:
  /// `names` are separated by ';'. Raises FieldNotFound, Error where names and values are not as many, and
  /// ConversionError where a value does not fit its field.
  RecordKey(const RecordTable& table, std::string_view names, std::span<const Value> values,
            LocateOptions options);

  bool Matches(const RecordTable& table, const std::uint64_t* cells) const;

 private:
  struct Part {
    std::size_t index = 0;
    FieldKind kind = FieldKind::kText;
    bool null = false;
    bool fold = false;
    std::string text;
    std::uint64_t bits = 0;
    double number = 0;

    bool Matches(std::uint64_t cell) const;
  };
  static Part MakePart(std::size_t index, FieldKind kind, const Value& value, LocateOptions options);

  std::vector<Part> parts_;
};

}  // namespace mox
