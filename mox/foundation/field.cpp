#include "mox/foundation/field.h"

#include <algorithm>
#include <array>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::array<std::string_view, kFieldKindCount> kKindNames = {
    "text", "integer", "boolean", "float", "currency", "date", "datetime", "binary"};

}  // namespace

std::string_view KindName(FieldKind kind) { return kKindNames.at(static_cast<std::size_t>(kind)); }

bool KindFromName(std::string_view name, FieldKind& kind) {
  const auto found = std::find_if(kKindNames.begin(), kKindNames.end(),
                                  [&](std::string_view known) { return SameName(known, name); });
  if (found == kKindNames.end()) return false;
  kind = static_cast<FieldKind>(found - kKindNames.begin());
  return true;
}

}  // namespace mox
