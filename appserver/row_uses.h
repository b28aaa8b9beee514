#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"

namespace mox {

/// A way in which the rows of a table are used by those of another: by a reference of the database, by a text
/// or number that names them, or by a link. Whoever takes rows away asks here who uses them.
class RowUse {
 public:
  /// Whose rows use others, and by which column: "dok_stavke.sifra".
  std::string Place() const { return table_ + "." + column_; }
  const std::string& Table() const { return table_; }

  /// Which of the rows with these keys are used, in their order.
  RecordSet UsedKeys(Database& database, std::int64_t first, std::int64_t last) const;
  /// How many rows use the row with this key, and the keys of the first of them.
  std::size_t CountUsers(Database& database, std::int64_t key) const;
  RecordSet FirstUsers(Database& database, std::int64_t key, std::size_t most) const;

 private:
  friend std::vector<RowUse> UsesOf(Database& database, std::string_view table);
  RowUse(std::string_view table, std::string_view column, std::string key, std::string from,
         std::string_view only);

  std::string table_;
  std::string column_;
  std::string key_;   // of the row that is used, in SQL
  std::string from_;  // the rows that use, as u, with what the key needs
  std::string only_;  // which of them do: empty, or a condition that begins with AND
};

/// All ways in which rows of a table may be used.
std::vector<RowUse> UsesOf(Database& database, std::string_view table);

}  // namespace mox
