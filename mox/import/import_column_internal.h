#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/error.h"
#include "mox/import/import_field.h"

namespace mox {

/// One row of a profile's table. The checks are added behind it:
/// `TextColumn("PTT", "PTT mjesta").Required().Lookup("select ... in ")`.
struct ImportColumn {
  std::string_view name;
  std::string_view caption;
  std::string_view type = field_type::kText;
  std::string_view size = "0";
  std::string_view lookup_sql = {};
  std::string_view unique_sql = {};
  bool required = false;
  bool lookup = false;
  bool unique = false;

  /// No value may be empty.
  constexpr ImportColumn Required(bool is_required = true) const {
    ImportColumn column = *this;
    column.required = is_required;
    return column;
  }
  /// Each value must be in the database.
  constexpr ImportColumn Lookup(std::string_view sql) const {
    ImportColumn column = *this;
    column.lookup = true;
    column.lookup_sql = sql;
    return column;
  }
  /// No value may be in the database yet.
  constexpr ImportColumn Unique(std::string_view sql) const {
    ImportColumn column = *this;
    column.unique = true;
    column.unique_sql = sql;
    return column;
  }
  constexpr ImportColumn WithoutLookup(std::string_view sql = {}) const {
    ImportColumn column = *this;
    column.lookup = false;
    column.lookup_sql = sql;
    return column;
  }
  constexpr ImportColumn WithoutUnique() const {
    ImportColumn column = *this;
    column.unique = false;
    column.unique_sql = {};
    return column;
  }
};

constexpr ImportColumn TextColumn(std::string_view name, std::string_view caption,
                                  std::string_view size = "100") {
  return {.name = name, .caption = caption, .size = size};
}
constexpr ImportColumn BooleanColumn(std::string_view name, std::string_view caption) {
  return {.name = name, .caption = caption, .type = field_type::kBoolean};
}
constexpr ImportColumn NumberColumn(std::string_view name, std::string_view caption) {
  return {.name = name, .caption = caption, .type = field_type::kFloat};
}
constexpr ImportColumn DateColumn(std::string_view name, std::string_view caption) {
  return {.name = name, .caption = caption, .type = field_type::kDate};
}

// A profile that is a variant of another one begins with a copy of its columns.

using ImportColumns = std::vector<ImportColumn>;

template <std::size_t N>
ImportColumns ColumnsOf(const ImportColumn (&table)[N]) {
  return ImportColumns(std::begin(table), std::end(table));
}

/// The column of that name, which must be there.
inline ImportColumn& ColumnNamed(ImportColumns& columns, std::string_view name) {
  for (ImportColumn& column : columns) {
    if (column.name == name) return column;
  }
  throw Error("there is no column " + std::string(name));
}

inline void DropColumn(ImportColumns& columns, std::string_view name) {
  columns.erase(columns.begin() + (&ColumnNamed(columns, name) - columns.data()));
}

}  // namespace mox
