#include "appserver/kept_statements.h"

#include <algorithm>
#include <utility>

#include "appserver/statement_impl.h"

namespace mox {
namespace {

constexpr std::size_t kMost = 100;

}  // namespace

KeptStatements::KeptStatements() { statements_.reserve(kMost); }

KeptStatements::~KeptStatements() = default;

std::unique_ptr<Statement::Impl> KeptStatements::Take(std::string_view sql,
                                                      std::span<const FieldKind> kinds) {
  const auto found = std::find_if(statements_.rbegin(), statements_.rend(),
                                  [&](const auto& statement) { return statement->Answers(sql, kinds); });
  if (found == statements_.rend()) return nullptr;
  std::unique_ptr<Statement::Impl> taken = std::move(*found);
  statements_.erase(std::next(found).base());
  return taken;
}

void KeptStatements::Keep(std::unique_ptr<Statement::Impl> statement) noexcept {
  // To give one up the engine is told so, behind what was sent ahead.
  const bool is_kept = statement->Empty();
  if (!is_kept || statements_.size() == kMost) statement->connection.Drain();
  if (!is_kept) return;
  if (statements_.size() == kMost) statements_.erase(statements_.begin());
  statements_.push_back(std::move(statement));
}

void KeptStatements::Clear() noexcept { statements_.clear(); }

}  // namespace mox
