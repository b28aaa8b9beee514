#pragma once

#include <cstdint>

namespace mox {

/// The states of a record set, in the order of the screens' framework. A set here is inactive, browsing,
/// editing, inserting or inside its calculate-fields event; the others exist for their names.
enum class DataSetState : std::uint8_t {
  kInactive,
  kBrowse,
  kEdit,
  kInsert,
  kSetKey,
  kCalcFields,
  kFilter,
  kNewValue,
  kOldValue,
  kCurValue,
  kBlockRead,
  kInternalCalc,
  kOpening
};

}  // namespace mox
