#include "appserver/dialect.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {

const Dialect& DialectOf(DatabaseLocation::Kind kind) {
  return kind == DatabaseLocation::Kind::kFile ? SqliteDialect() : PostgresqlDialect();
}

FieldDef FieldOfColumn(std::string name, std::string_view declared_type, bool required) {
  struct Row {
    std::string_view type;
    FieldKind kind;
  };
  constexpr Row kTypes[] = {{"NUMERIC", FieldKind::kCurrency},   {"DOUBLE", FieldKind::kFloat},
                            {"REAL", FieldKind::kFloat},         {"BIGINT", FieldKind::kInteger},
                            {"INTEGER", FieldKind::kInteger},    {"SMALLINT", FieldKind::kInteger},
                            {"BOOLEAN", FieldKind::kBoolean},    {"DATE", FieldKind::kDate},
                            {"TIMESTAMP", FieldKind::kDateTime}, {"BLOB", FieldKind::kBinary},
                            {"BYTEA", FieldKind::kBinary}};
  const std::size_t parenthesis = std::min(declared_type.find_first_of("( "), declared_type.size());
  const std::string_view word = declared_type.substr(0, parenthesis);
  FieldDef field{.name = std::move(name), .required = required};
  const auto* const row = std::find_if(std::begin(kTypes), std::end(kTypes),
                                       [&](const Row& r) { return SameName(r.type, word); });
  if (row != std::end(kTypes)) {
    field.kind = row->kind;
  } else if (declared_type.substr(parenthesis).starts_with('(') && declared_type.ends_with(')')) {
    const std::string_view size = declared_type.substr(parenthesis + 1);
    field.size = static_cast<std::size_t>(ParseInteger(size.substr(0, size.size() - 1)));
  }
  return field;
}

}  // namespace mox
