#pragma once

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/record_set.h"

namespace mox {

/// A function of document lines with its arguments after the record set bound.
using BoundLineFunction = std::function<void(RecordSet& lines)>;

/// One function that the command can apply to record sets.
struct LineFunction {
  struct Argument {
    std::string_view name;
    std::string_view kind;  ///< "integer", "currency" or "boolean"
  };

  std::string_view name;
  std::vector<Argument> arguments;
  /// Raises UsageError for a text that is no value of its argument. There is one text for each argument.
  std::function<BoundLineFunction(std::span<const std::string> texts)> bind;
  bool walks_itself = false;  ///< takes the whole set at once instead of the current record
};

struct LineFunctionGroup {
  std::string_view title;
  std::vector<LineFunction> functions;
};

const std::vector<LineFunctionGroup>& LineFunctions();

/// Raises UsageError that suggests near names.
const LineFunction& FindLineFunction(std::string_view name);

}  // namespace mox
