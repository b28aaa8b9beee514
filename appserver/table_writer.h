#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "appserver/company_server.h"
#include "appserver/database.h"

namespace mox {

/// A rule or the database refused a row of a write request.
class WriteRefused : public Error {
 public:
  explicit WriteRefused(WriteFailure failure) : Error(failure.message), failure_(std::move(failure)) {}
  const WriteFailure& failure() const { return failure_; }

 private:
  WriteFailure failure_;
};

/// What happens to fields that the table has no column for.
enum class UnknownFields : std::uint8_t { kRefuse, kIgnore };

/// How the records of a set become rows of a table.
struct TableRule {
  std::string_view table;
  UnknownFields unknown_fields = UnknownFields::kRefuse;
  /// Columns with one value for all rows. Fields of their names do not count; nor does a field "id", since
  /// keys are the database's.
  std::vector<std::pair<std::string_view, Value>> constants = {};
  /// A column for the number of the row; empty for none.
  std::string_view row_number = {};
  std::int64_t first_row_number = 1;
};

/// Inserts a row for each record: its fields go to the columns of the same name, converted to their kinds.
/// Runs in the caller's transaction; the statement is prepared once. Leaves the set at its end.
///
/// Raises WriteRefused that names the record set, the row and, where it is known, the field: for a field
/// without a column, a value that does not fit its column (a text that is too long too), and for what the
/// database refuses.
void InsertRecords(Database& database, RecordSet& records, const TableRule& rule);

/// Raises WriteRefused for a set that has none or more.
void RequireOneRecord(const RecordSet& records);

/// The same for a set of one record; answers the row's key.
std::int64_t InsertRecord(Database& database, RecordSet& records, const TableRule& rule);

}  // namespace mox
