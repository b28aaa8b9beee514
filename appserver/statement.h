#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

#include "mox/foundation/field.h"
#include "mox/foundation/record_set.h"

namespace mox {

class DatabaseError;
class RowCopy;

/// One prepared SQL statement. Its parameters are `:name`s in the SQL; they are bound by position, in the
/// order in which they first appear, each with the kind it was prepared with. What is bound stays bound until
/// it is bound anew.
class Statement {
 public:
  Statement(Statement&& other) noexcept;
  Statement& operator=(Statement&& other) noexcept;
  ~Statement();

  void BindNull(std::size_t index);
  /// Converted to the parameter's kind; a blank text for anything but a text is null. Raises ConversionError,
  /// also for a text with a NUL character, and Overflow.
  void Bind(std::size_t index, const Value& value);
  void BindText(std::size_t index, std::string_view text);
  /// A field of a record, without building a value where the kinds are the same.
  void Bind(std::size_t index, const RecordRow& row, std::size_t field);

  /// Rows changed.
  std::int64_t Execute();
  /// The same where nobody asks how many: over a connection on which that is worth it the engine's answer is
  /// waited for later, by the next statement that needs one, or the end of the transaction. `refused` is
  /// called then, to raise something better than what it is given.
  using Refused = std::function<void(const DatabaseError& error)>;
  void ExecuteAhead(Refused refused = {});
  /// Executes an INSERT ... RETURNING of one integer, and answers it.
  std::int64_t ExecuteForKey();
  /// Adds the values that are bound, as those of a row, to rows that are stored together.
  void AddTo(RowCopy& rows) const;
  /// Appends a record to an open set for each row; the columns fill the fields in their order.
  void ExecuteInto(RecordSet& answer);

 private:
  friend class Database;
  friend class KeptStatements;
  struct Impl;
  explicit Statement(std::unique_ptr<Impl> impl);
  std::unique_ptr<Impl> impl_;
};

}  // namespace mox
