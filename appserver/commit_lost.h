#pragma once

#include <string>
#include <string_view>

#include "appserver/database_location.h"

namespace mox {

/// The connection was lost while a transaction was committed: it may be stored, or not.
class CommitLost : public DatabaseUnavailable {
 public:
  using DatabaseUnavailable::DatabaseUnavailable;
};

/// What is told of a write whose answer was lost, and of one that is known to be none.
inline constexpr std::string_view kNotKnown =
    "it is not known whether the request was stored: look before you store it again";
inline constexpr std::string_view kNothingStored = "nothing was stored";

/// The first of them, with the key by which the journal of writes shows the request.
inline std::string NotKnownUnder(std::string_view key) {
  return std::string(kNotKnown) + " (DnevnikUpisa has the key " + std::string(key) + " where it was)";
}

}  // namespace mox
