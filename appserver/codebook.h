#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"
#include "appserver/key_finder.h"
#include "appserver/search_index.h"

namespace mox {

/// What a value must be besides fitting its column: a text, or a number in its range. Days are whole and at
/// most ten years; a percent is one of a whole, from 0 to 100.
enum class FieldCheck : std::uint8_t {
  kNone,
  kOib,
  kIban,
  kPhone,
  kEmail,
  kFiscalName,
  kNotNegative,
  kDays,
  kPercent
};

/// A field of a codebook's records: a column of its table, or what names the row of another table that a
/// column refers to, such as a country's code. Kinds and sizes are those of the columns.
struct CodebookField {
  std::string_view name;
  std::string_view label;
  FieldCheck check = FieldCheck::kNone;
  bool has_default = false;         ///< a new row may do without it although its column is never empty
  std::string_view reference = {};  ///< the column that refers to another table
  std::string_view column = {};     ///< of that table, which the field shows and is looked up by
  std::string_view or_column = {};  ///< looked up by next
};

/// A table of the company that its people keep, and all that is known of it. The read service, the checks,
/// storing and deleting, the numbers of new rows and the command come from here.
struct Codebook {
  std::string_view name;
  std::string_view table;
  std::string_view summary;
  /// The fields by which people tell rows apart. Only one of them may be numbered.
  std::vector<std::string_view> key;
  std::vector<CodebookField> fields;
  /// Columns of which no two rows have the same text; a row without a key is found by one of them, too.
  std::vector<std::string_view> unique = {};
  /// The column of codes that a new row without one gets: numbered on.
  std::string_view numbered = {};
  /// The index in which its own texts are searched; empty for a codebook that is searched row by row.
  std::string_view search_index = {};
  /// How a reference finds its row, where its fields alone do not say it.
  std::vector<KeyRule> rules = {};
};

std::span<const Codebook> CodebookTable();
/// Null where there is none.
const Codebook* FindCodebook(std::string_view name);
const Codebook* FindCodebookOf(std::string_view table);

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

 private:
  UniqueCheck taken_;
  Statement highest_;
};

/// What is wrong with a value that is not null; empty where nothing is.
std::string FaultOf(FieldCheck check, const Value& value);

}  // namespace mox
