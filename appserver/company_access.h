#pragma once

#include <string_view>

#include "appserver/write_outcome.h"
#include "mox/foundation/app.h"

namespace mox {

class Secrets;

/// A company as a program works with it, wherever its database is: the communication module, and what became
/// of the last write request.
class CompanyAccess : public TdmComunication {
 public:
  /// "NAME=VALUE" stands before the company parameter and the additional feature of that name. Raises Error
  /// when there is no '=' or no name.
  virtual void SetParameter(std::string_view assignment) = 0;
  /// Write requests are carried out from now on, and rolled back in the end: whether they would be stored.
  virtual void SetRehearsing(bool rehearsing) = 0;
  virtual const WriteOutcome& LastWrite() const = 0;
  /// Adds the keys and passwords of the company's accounts, which nobody is to see: all of them, or as far as
  /// answers bring them from now on. The object outlives this one.
  virtual void AddSecrets(Secrets& secrets) = 0;
  /// Something leaves the house in the company's name: raises Error that says what must be set first.
  virtual void RequireNamed() = 0;
  /// From any thread: whether a request that is waited for is to end without its answer, as where the server
  /// went away. A database at hand answers all the same.
  virtual void EndRequests(bool /*end*/) {}
};

}  // namespace mox
