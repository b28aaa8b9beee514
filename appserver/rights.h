#pragma once

#include <cstdint>
#include <initializer_list>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace mox {

/// What a named service or transaction needs.
enum class Right : std::uint8_t { kRead, kEnterDocuments, kMasterData, kImports, kAdminister };

/// A set of rights.
class Rights {
 public:
  constexpr Rights() = default;
  constexpr Rights(std::initializer_list<Right> rights) {
    for (const Right right : rights) Add(right);
  }
  static constexpr Rights All() {
    return {Right::kRead, Right::kEnterDocuments, Right::kMasterData, Right::kImports, Right::kAdminister};
  }

  constexpr void Add(Right right) { bits_ |= 1U << static_cast<unsigned>(right); }
  constexpr void Add(Rights rights) { bits_ |= rights.bits_; }
  constexpr bool Has(Right right) const { return (bits_ >> static_cast<unsigned>(right) & 1U) != 0; }
  constexpr bool Empty() const { return bits_ == 0; }
  constexpr bool operator==(const Rights&) const = default;

 private:
  unsigned bits_ = 0;
};

/// What a user is granted in a company. Each role reads; the administrator may do everything.
struct Role {
  std::string_view code;  ///< as it is stored, and may be typed
  std::string_view name;  ///< for people
  Right right;            ///< that it is named after
  Rights rights;
};
/// One for each right, in their order.
std::span<const Role> Roles();
/// By code or name, without regard to letter case; null where there is none.
const Role* FindRole(std::string_view text);
/// The role's name of a right, for people.
std::string_view RoleNameOf(Right right);

}  // namespace mox
