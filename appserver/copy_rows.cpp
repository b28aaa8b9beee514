#include "appserver/copy_rows.h"

#include <algorithm>
#include <memory>

#include "appserver/row_copy.h"

namespace mox {
namespace {

constexpr std::int64_t kPortion = 2000;  // rows that are held at once

bool Has(const std::vector<std::string>& names, const std::string& name) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

// Each table behind those that its rows refer to.
std::vector<std::string> InOrder(Database& database) {
  std::vector<std::string> rest = database.TableNames();
  std::vector<std::string> ordered;
  while (!rest.empty()) {
    const auto is_ready = [&](const std::string& table) {
      const std::vector<Reference> references = database.References(table);
      return std::all_of(references.begin(), references.end(), [&](const Reference& reference) {
        return reference.table == table || Has(ordered, reference.table);
      });
    };
    const auto ready = std::find_if(rest.begin(), rest.end(), is_ready);
    if (ready == rest.end()) throw DatabaseError("the tables refer to each other in a circle");
    ordered.push_back(*ready);
    rest.erase(ready);
  }
  return ordered;
}

std::int64_t CountRows(Database& database, const std::string& table) {
  return database.Query("n", ParseColumns("n:integer"), "SELECT COUNT(*) FROM " + table).AsInteger(0);
}

// Stores a portion; where a row of it is refused, says which.
void Store(Database& to, RowCopy& together, const RecordSet& rows) {
  to.KeepSoFar();
  try {
    together.Store();
  } catch (const DatabaseUnavailable&) {
    throw;
  } catch (const DatabaseError& error) {
    const auto refused = together.FindRefused();
    const std::string row = refused ? ", id " + rows.RowAt(*refused).AsText(*rows.FindFieldIndex("id")) : "";
    throw DatabaseError(std::string(error.what()) + " (" + rows.Name() + row + ")");
  }
}

// The rows of a table, in the order of their keys, so that those that refer to one of their own table come
// behind it.
void CopyTable(Database& from, Database& to, const std::string& table, const std::function<void()>& reached) {
  const Columns columns = from.TableColumns(table);
  std::vector<std::string> names;
  std::vector<FieldKind> kinds;
  std::string list;
  std::string places;
  RecordSet rows(table);
  for (const FieldDef& column : columns) {
    rows.DefineField(column.name, column.kind);
    names.push_back(column.name);
    kinds.push_back(column.kind);
    list += (list.empty() ? "" : ", ") + column.name;
    places += (places.empty() ? ":" : ", :") + column.name;
  }
  rows.Open();
  const std::size_t key = *rows.FindFieldIndex("id");
  Statement select = from.Prepare(
      "SELECT " + list + " FROM " + table + " WHERE id > :id ORDER BY id LIMIT " + std::to_string(kPortion),
      {FieldKind::kInteger});
  Statement insert = to.Prepare("INSERT INTO " + table + " (" + list + ") VALUES (" + places + ")", kinds);
  const std::unique_ptr<RowCopy> together = to.CopyInto(table, names);
  for (std::int64_t last = 0;; rows.Clear()) {
    select.Bind(0, Value(last));
    select.ExecuteInto(rows);
    if (reached) reached();
    if (rows.IsEmpty()) break;
    for (const RecordRow& row : rows.Rows()) {
      for (std::size_t i = 0; i < names.size(); ++i) insert.Bind(i, row, i);
      together != nullptr ? insert.AddTo(*together) : static_cast<void>(insert.Execute());
      last = row.AsInteger(key);
    }
    if (together != nullptr) Store(to, *together, rows);
  }
  if (CountRows(from, table) != CountRows(to, table))
    throw DatabaseError(from.location().ToString() + ": not all rows of " + table + " can be copied");
}

}  // namespace

void CopyRows(Database& from, Database& to, const std::function<void()>& reached) {
  const std::vector<std::string> tables = InOrder(to);
  for (auto table = tables.rbegin(); table != tables.rend(); ++table) to.Execute("DELETE FROM " + *table);
  for (const std::string& table : tables) CopyTable(from, to, table, reached);
}

}  // namespace mox
