#pragma once

#include <string>
#include <string_view>

#include "appserver/rights.h"
#include "mox/foundation/error.h"

namespace mox {

/// Who asks a company server.
struct Requester {
  /// Whom the journal of writes names; of a program in the user's own hands the name of the local user.
  std::string user = {};
  /// By which documents name the user. Where it is given the user has logged in, and is written whomever a
  /// request names; where it is empty requests say themselves who it is.
  std::string code = {};
  Rights rights = Rights::All();

  bool HasLoggedIn() const { return !code.empty(); }
};

/// A request for which the user has no right.
class NotAllowed : public Error {
 public:
  using Error::Error;
};

/// A write request under the key of another one; nothing was stored by it.
class KeyReused : public Error {
 public:
  using Error::Error;
};

/// Raises NotAllowed where the requester does not have the right to use a service, transaction or record set.
void RequireRight(const Requester& who, Right right, std::string_view used);

}  // namespace mox
