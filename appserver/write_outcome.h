#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "mox/foundation/error.h"
#include "mox/foundation/record_set.h"

namespace mox {

/// What was refused of a record set besides: at which record (from 1) and field, and why.
struct RefusedCell {
  std::size_t row = 0;
  std::string field;
  std::string message;
};

/// Why a write request was refused: in which record set, at which record (from 1) and field, where these are
/// known, and what the database or the rule said.
struct WriteFailure {
  std::string transaction;
  std::string record_set;
  std::size_t row = 0;
  std::string field;
  std::string message;
  /// Further records that were tried and refused, in their order. Where there are many the rest is not tried.
  std::vector<RefusedCell> others = {};

  /// All of it on one line; of further records only how many there are.
  std::string ToString() const;
};

/// What the last write request did.
struct WriteOutcome {
  bool committed = false;   ///< or would have been, in a rehearsal
  std::string transaction;  ///< of a committed one
  /// Of a refused one.
  std::optional<WriteFailure> failure;
  /// Keys and numbers that the server gave, where the transaction gives any.
  std::optional<RecordSet> stored;

  /// Those of a transaction that gives some. Raises Error where they are not told.
  const RecordSet& Stored() const;
};

/// A rule or the database refused a row of a write request.
class WriteRefused : public Error {
 public:
  explicit WriteRefused(WriteFailure failure) : Error(failure.message), failure_(std::move(failure)) {}
  const WriteFailure& failure() const { return failure_; }

 private:
  WriteFailure failure_;
};

}  // namespace mox
