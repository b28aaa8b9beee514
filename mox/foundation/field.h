#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "mox/foundation/currency.h"
#include "mox/foundation/dates.h"

namespace mox {

/// What a field holds. Currency has four decimals, a float is a double, an integer has 64 bits, a text is
/// UTF-8, a binary is any bytes.
enum class FieldKind : std::uint8_t {
  kText,
  kInteger,
  kBoolean,
  kFloat,
  kCurrency,
  kDate,
  kDateTime,
  kBinary
};

inline constexpr std::size_t kFieldKindCount = 8;

constexpr bool HoldsText(FieldKind kind) { return kind == FieldKind::kText || kind == FieldKind::kBinary; }

/// "text", "integer", "boolean", "float", "currency", "date", "datetime", "binary".
std::string_view KindName(FieldKind kind);
/// The kind of such a name, without regard to case; false when there is none.
bool KindFromName(std::string_view name, FieldKind& kind);

/// A value of any kind; std::monostate is null. Texts and binaries are strings.
using Value = std::variant<std::monostate, std::string, std::int64_t, bool, double, Currency, Date, DateTime>;

/// The definition of one field.
struct FieldDef {
  std::string name;  ///< compared without regard to case
  FieldKind kind = FieldKind::kText;
  std::size_t size = 0;             ///< of a text, in characters; longer texts are cut. 0 is without a limit
  bool required = false;            ///< for the checks of screens; post does not look at it
  bool calculated = false;          ///< may be written inside the calculate-fields event
  std::string display_name = {};    ///< label in messages; empty means the name
  std::string display_format = {};  ///< mask of a numeric field; empty means none

  const std::string& Label() const { return display_name.empty() ? name : display_name; }
};

}  // namespace mox
