#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "appserver/key_finder.h"
#include "appserver/rights.h"

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
  /// That whoever changes it must have.
  Right right = Right::kMasterData;
};

std::span<const Codebook> CodebookTable();
/// Null where there is none.
const Codebook* FindCodebook(std::string_view name);
const Codebook* FindCodebookOf(std::string_view table);

}  // namespace mox
