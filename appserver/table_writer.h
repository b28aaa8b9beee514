#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "appserver/database.h"
#include "appserver/key_finder.h"
#include "appserver/write_outcome.h"

namespace mox {

/// What happens to fields that the table has no column for.
enum class UnknownFields : std::uint8_t { kRefuse, kIgnore };

/// A field that does not simply go to the column of its name.
struct FieldRule {
  std::string_view field;
  std::string_view column = {};  ///< empty for that of the same name
  Value when_blank = {};         ///< what is stored where the field has no value
  bool yes_or_no = false;        ///< a text such as "da" or "N" for a Boolean column
  bool is_small = false;         ///< a whole number of 32 bits, as its column
};

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
  /// Columns for the keys of other tables' rows, which fields name. Such a field is no column of its own
  /// unless it stands in `fields` too.
  std::vector<KeyRule> keys = {};
  std::vector<FieldRule> fields = {};
  std::vector<std::string_view> ignored = {};  ///< fields
  /// Fields that only the transaction's handler reads: they tell it something and go to no column.
  std::vector<FieldDef> told = {};
  bool blank_is_null = false;  ///< texts of blanks are no value
  /// Changes the rows that have this field's text in the column of its name instead of inserting; a field
  /// without a value leaves its column as it is. A text that no row has is refused.
  std::string_view update_by = {};
};

/// Inserts a row for each record, or changes rows: its fields go to the columns of the same name, converted
/// to their kinds, where the rule says nothing else. Runs in the caller's transaction; the statement is
/// prepared once.
///
/// Raises WriteRefused that names the record set, the row and, where it is known, the field: for a field
/// without a column, a value that does not fit its column (a text that is too long too) or names no row, and
/// for what the database refuses. Up to `most_refused` records that are refused are told; after the last one
/// the rest is not tried.
void StoreRecords(Database& database, const RecordSet& records, const TableRule& rule,
                  std::size_t most_refused = 1);

/// The same of rows that nobody needs before the transaction ends: what is refused may be told by whatever
/// asks the database next, at the latest by the end of the transaction.
void StoreRecordsAhead(Database& database, const RecordSet& records, const TableRule& rule);

/// Raises WriteRefused for a set that has none or more.
void RequireOneRecord(const RecordSet& records);

/// The same for a set of one record; answers the row's key.
std::int64_t InsertRecord(Database& database, const RecordSet& records, const TableRule& rule);

}  // namespace mox
