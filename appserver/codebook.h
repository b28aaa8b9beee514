#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/codebook_table.h"
#include "appserver/database.h"
#include "appserver/search_index.h"

namespace mox {

/// A codebook with what the database knows of it.
struct CodebookShape {
  const Codebook* codebook = nullptr;
  Columns fields;                        ///< with their labels
  std::vector<std::string> expressions;  ///< what the fields show, in SQL: "t.naziv", "mjesto_id.ptt"
  std::string from;                      ///< "par t LEFT JOIN mjesto mjesto_id ON ..."
  std::vector<std::string> tables;       ///< that the fields refer to; empty for a column

  /// Raises Error where the codebook has no such field.
  std::size_t IndexOf(std::string_view field) const;
  const CodebookField& Rule(std::size_t index) const { return codebook->fields[index]; }
};
CodebookShape ShapeOf(Database& database, const Codebook& codebook);
/// The index in which its texts are searched; none where it has none.
std::optional<SearchIndex> SearchIndexOf(const CodebookShape& shape);

/// The field of the codebooks' answers that tells whether a row was changed since: to be sent back with a
/// correction.
inline constexpr std::string_view kVersionField = "verzija";

/// An open set of the shape's fields and the version.
RecordSet EmptyAnswer(const CodebookShape& shape);
/// Appends rows; `rest` goes on after FROM.
void AppendRows(Database& database, const CodebookShape& shape, std::string_view rest,
                std::span<const Value> values, RecordSet& answer);
/// A value as keys have it, whatever the locale: "2012-03-01", "true", "25".
std::string PlainText(const Value& value);
/// The key of the current record for people, "10000;Zagreb".
std::string KeyOf(const CodebookShape& shape, const RecordSet& records);

/// Finds rows that have a text in a unique column already, whatever its letter case.
class UniqueCheck {
 public:
  UniqueCheck(Database& database, const Codebook& codebook, std::string_view column);
  std::string_view column() const { return column_; }
  /// The other row's id; none for a blank text. 0 stands for no row of one's own.
  std::optional<std::int64_t> Find(const std::string& text, std::int64_t own_id = 0);
  /// "is that of partneri 7": who has it.
  std::string Refusal(std::int64_t id) const;

 private:
  Database& database_;
  const Codebook& codebook_;
  std::string column_;
  Statement find_;
};

/// What follows the highest running code of a codebook's numbered column.
class CodeNumbering {
 public:
  CodeNumbering(Database& database, const Codebook& codebook);
  /// A code that no row has.
  std::string Next();
  /// The highest running code; empty where no row has one.
  std::string Highest();

 private:
  UniqueCheck taken_;
  Statement highest_;
};

/// What is wrong with a value that is not null; empty where nothing is.
std::string FaultOf(FieldCheck check, const Value& value);

}  // namespace mox
