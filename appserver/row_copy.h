#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

class DatabaseConnection;
struct ValueSlot;  // in statement_impl.h

/// Rows of one table that are stored, or changed, together, which some engines do much faster than one
/// statement for each. Of a refused row the engine need not say which one it is, so that is asked for.
class RowCopy {
 public:
  RowCopy() = default;
  virtual ~RowCopy() = default;
  RowCopy(const RowCopy&) = delete;
  RowCopy& operator=(const RowCopy&) = delete;

  /// Adds a row to those that are stored next, with the values of its columns in their order.
  virtual void Add(std::span<const ValueSlot> values) = 0;
  /// Forgets the rows behind the first so many.
  virtual void Truncate(std::size_t rows) = 0;
  /// Stores the rows, and forgets them. Raises DatabaseError where the engine refuses one of them; they are
  /// still there then, and of the transaction what was stored before Database::KeepSoFar().
  virtual void Store() = 0;
  /// Which of the rows the engine refuses first; none where it takes them all. Nothing is stored.
  virtual std::optional<std::size_t> FindRefused() = 0;
};

std::unique_ptr<RowCopy> MakePostgresqlCopy(DatabaseConnection& connection, std::string_view table,
                                            const std::vector<std::string>& columns);
/// Rows of changes, as Database::ChangeTogether has them, or with an empty `by` Database::ReplaceTogether; no
/// two of them for one key.
std::unique_ptr<RowCopy> MakePostgresqlChange(DatabaseConnection& connection, std::string_view table,
                                              const std::vector<std::string>& columns, const std::string& by);

}  // namespace mox
