#include "appserver/requester.h"

namespace mox {

void RequireRight(const Requester& who, Right right, std::string_view used) {
  if (who.rights.Has(right)) return;
  throw NotAllowed("user " + who.user + " may not use " + std::string(used) + ", which takes the role \"" +
                   std::string(RoleNameOf(right)) + '"');
}

}  // namespace mox
