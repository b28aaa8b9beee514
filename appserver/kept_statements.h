#pragma once

#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "appserver/statement.h"

namespace mox {

/// Statements of a connection that were used and may be used again: to prepare one costs two more ways to a
/// server, and often more than to execute it. Those unused for longest go first.
class KeptStatements {
 public:
  KeptStatements();
  ~KeptStatements();

  /// Null where there is none of this text and these parameters that nobody uses.
  std::unique_ptr<Statement::Impl> Take(std::string_view sql, std::span<const FieldKind> kinds);
  void Keep(std::unique_ptr<Statement::Impl> statement) noexcept;
  /// The connection was made anew, and knows none of them.
  void Clear() noexcept;

 private:
  std::vector<std::unique_ptr<Statement::Impl>> statements_;  // the last used one last
};

}  // namespace mox
