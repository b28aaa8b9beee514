#pragma once

#include <string_view>
#include <vector>

#include "mox/foundation/field.h"

namespace mox {

/// An input of a service, or a record set of a transaction.
struct DeclaredInput : FieldDef {
  bool may_be_left_out = false;
};
/// Of `ServiceInfo::inputs`. Raises Error for another text.
std::vector<DeclaredInput> ParseDeclaredInputs(std::string_view inputs);

}  // namespace mox
