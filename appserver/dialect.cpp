#include "appserver/dialect.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {

const Dialect& DialectOf(DatabaseLocation::Kind kind) {
  return kind == DatabaseLocation::Kind::kFile ? SqliteDialect() : PostgresqlDialect();
}

std::vector<TableDescription> ReadTables(soci::session& session, const Dialect& dialect) {
  std::vector<TableDescription> tables;
  std::string table;
  std::string name;
  std::string type;
  int required = 0;
  soci::statement columns = (session.prepare << dialect.ListColumns(), soci::into(table), soci::into(name),
                             soci::into(type), soci::into(required));
  columns.execute();
  while (columns.fetch()) {
    if (tables.empty() || tables.back().name != table) tables.push_back({table, {}, {}});
    tables.back().columns.push_back(FieldOfColumn(name, type, required != 0));
  }
  Reference row;
  soci::statement references = (session.prepare << dialect.ListReferences(), soci::into(table),
                                soci::into(row.column), soci::into(row.table), soci::into(row.key));
  references.execute();
  while (references.fetch()) {
    const auto found = std::find_if(tables.begin(), tables.end(),
                                    [&](const TableDescription& known) { return known.name == table; });
    if (found != tables.end()) found->references.push_back(row);
  }
  return tables;
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
