#include "appserver/row_uses.h"

#include "mox/foundation/text.h"

namespace mox {
namespace {

// Rows that are named by what stands in one of their columns, without a reference of the database. Texts are
// compared as people compare them.
struct NamedRows {
  std::string_view table;
  std::string_view named;
  bool is_text;
  std::string_view by_table;
  std::string_view by_column;
  std::string_view only = {};  // which rows of by_table, called u
};

constexpr NamedRows kNamedRows[] = {
    {"art", "sifra", true, "dok_stavke", "sifra", "u.sorta = 'roba' AND u.art_id IS NULL"},
    {"usluge", "sifra", true, "dok_stavke", "sifra", "u.sorta = 'usluga'"},
    {"jm", "naziv", true, "dok_stavke", "jm"},
    {"tbr", "stopa", false, "usluge", "tbr"},
    {"tbr", "stopa", false, "dok_stavke", "tbr_stp"},
    {"nacini_placanja", "naziv", true, "dok", "nacin_placanja"},
    {"nacini_placanja", "naziv", true, "par", "nacin_placanja"},
    {"korisnik", "user_id", true, "dok", "user_id"},
    {"korisnik", "user_id", true, "integracije_racuni", "user_id"},
};

// Tables of links, whose parents are rows of any table.
constexpr std::string_view kLinks[] = {"dok_veze", "dok_veze_kasnije"};

RecordSet Keys(Database& database, const std::string& sql, std::initializer_list<Value> values) {
  RecordSet keys = database.Query("keys", ParseColumns("id:integer"), sql, values);
  if (!keys.IsEmpty()) keys.First();
  return keys;
}

}  // namespace

RowUse::RowUse(std::string_view table, std::string_view column, std::string key, std::string from,
               std::string_view only)
    : table_(table), column_(column), key_(std::move(key)), from_(std::move(from)) {
  if (!only.empty()) only_.append(" AND ").append(only);
}

RecordSet RowUse::UsedKeys(Database& database, std::int64_t first, std::int64_t last) const {
  return Keys(database,
              "SELECT DISTINCT " + key_ + " FROM " + from_ + " WHERE " + key_ + " >= :first AND " + key_ +
                  " <= :last" + only_ + " ORDER BY " + key_,
              {first, last});
}

std::size_t RowUse::CountUsers(Database& database, std::int64_t key) const {
  const RecordSet count =
      Keys(database, "SELECT COUNT(*) FROM " + from_ + " WHERE " + key_ + " = :key" + only_, {key});
  return static_cast<std::size_t>(count.AsInteger(0));
}

RecordSet RowUse::FirstUsers(Database& database, std::int64_t key, std::size_t most) const {
  return Keys(database,
              "SELECT u.id FROM " + from_ + " WHERE " + key_ + " = :key" + only_ + " ORDER BY u.id LIMIT " +
                  std::to_string(most),
              {key});
}

std::vector<RowUse> UsesOf(Database& database, std::string_view table) {
  std::vector<RowUse> uses;
  for (const std::string& other : database.TableNames()) {
    for (const Reference& reference : database.References(other)) {
      if (reference.table != table || reference.key != "id") continue;
      uses.push_back(RowUse(other, reference.column, "u." + reference.column, other + " u", {}));
    }
  }
  for (const NamedRows& row : kNamedRows) {
    if (row.table != table) continue;
    const auto compared = [&](std::string_view column) {
      return row.is_text ? "fold(" + std::string(column) + ")" : std::string(column);
    };
    uses.push_back(RowUse(row.by_table, row.by_column, "t.id",
                          std::string(row.by_table) + " u JOIN " + std::string(row.table) + " t ON " +
                              compared("t." + std::string(row.named)) + " = " +
                              compared("u." + std::string(row.by_column)),
                          row.only));
  }
  for (const std::string_view links : kLinks) {
    uses.push_back(RowUse(links, "parent_doc_id", "u.parent_doc_id", std::string(links) + " u",
                          "u.parent_table = '" + std::string(table) + "'"));
  }
  return uses;
}

}  // namespace mox
