#pragma once

#include <optional>
#include <string_view>

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
  constexpr ImportColumn Required() const {
    ImportColumn column = *this;
    column.required = true;
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
  /// A look-up text that no check uses.
  constexpr ImportColumn WithoutLookup(std::string_view sql) const {
    ImportColumn column = *this;
    column.lookup_sql = sql;
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

/// How a profile differs from columns that it shares with another one: its own column stands in the place of
/// that of the same name, or behind all where there is none; without one the column is left out.
struct ColumnChange {
  std::string_view name;
  std::optional<ImportColumn> column;
  bool (*applies)() = nullptr;  ///< asks the server; without it the change always applies
};

}  // namespace mox
