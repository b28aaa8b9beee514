#include "appserver/rights.h"

#include "mox/foundation/text.h"

namespace mox {

std::span<const Role> Roles() {
  static constexpr Role kRoles[] = {
      {"citanje", "čitanje", Right::kRead, {Right::kRead}},
      {"unos", "unos dokumenata", Right::kEnterDocuments, {Right::kRead, Right::kEnterDocuments}},
      {"maticni", "matični podaci", Right::kMasterData, {Right::kRead, Right::kMasterData}},
      {"uvoz", "uvoz", Right::kImports, {Right::kRead, Right::kImports}},
      {"administracija", "administracija", Right::kAdminister, Rights::All()}};
  return kRoles;
}

const Role* FindRole(std::string_view text) {
  for (const Role& role : Roles()) {
    if (EqualsIgnoringCase(role.code, text) || EqualsIgnoringCase(role.name, text)) return &role;
  }
  return nullptr;
}

std::string_view RoleNameOf(Right right) { return Roles()[static_cast<std::size_t>(right)].name; }

}  // namespace mox
