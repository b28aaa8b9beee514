#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace mox {

/// One column of an import as its profile defines it. All nine are texts; numbers and flags are read from
/// them when they are used.
struct ImportFieldDef {
  std::string field_name;  ///< in both record sets, and what the two queries must call their column
  std::string caption;     ///< of the grid's column, and in the texts of progress
  std::string field_type;  ///< code of the kind in the target set
  std::string size;        ///< of a text in the target set, in characters; "0" for the other kinds
  std::string required;    ///< flag: no value may be empty
  std::string lookup;      ///< flag: each value that is not empty must be in the database
  std::string lookup_sql;  ///< query that ends in "in", to which the server adds the list of values
  std::string unique;      ///< flag: no value may be in the database yet
  std::string unique_sql;  ///< as lookup_sql

  /// A position for which the profile gives no definition is no column, and no check looks at it.
  bool IsDefined() const { return !field_name.empty(); }
};

/// The codes of `ImportFieldDef::field_type`.
namespace field_type {
inline constexpr std::string_view kText = "1";
inline constexpr std::string_view kInteger = "3";
inline constexpr std::string_view kBoolean = "5";
inline constexpr std::string_view kFloat = "6";
inline constexpr std::string_view kDate = "9";
}  // namespace field_type

// The working columns, which every profile begins with.
inline constexpr std::size_t kVTempPosition = 0;
inline constexpr std::size_t kValidacijaPosition = 1;
inline constexpr std::size_t kErrMsgPosition = 2;
inline constexpr std::size_t kFirstDataPosition = 3;

}  // namespace mox
