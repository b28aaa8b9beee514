#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"

namespace mox {

/// A look-up of the import grid: which of a column's pasted values stand in the database.
struct ImportLookup {
  std::string sql;    ///< the text under which clients ask for it, letter for letter: "select PTT as PTT from
                      ///< mjesto where PTT in "
  std::string table;  ///< where the values are looked for
  std::string matched;        ///< in which column
  std::string answer;         ///< the name of the answer's column
  std::string selected = {};  ///< the column that is answered; empty for the matched one
  bool numeric = false;       ///< values are numbers, though the matched column may hold texts of digits
};

/// The look-ups that the server runs; a client's SQL text only chooses one of them.
///
/// Values are found without regard to letter case and to blanks at their ends, through the index on
/// fold(matched), in portions that the database accepts. Where the matched column is a number or the look-up
/// numeric, "25", "25.0" and "25,00" are the same value, and the answer has the values as they were asked
/// for.
class ImportCatalogue {
 public:
  /// Has the look-ups of master data.
  ImportCatalogue();

  /// Raises Error for an SQL text that is registered already.
  void Register(ImportLookup lookup);
  const std::vector<ImportLookup>& Lookups() const { return lookups_; }

  /// The found values, as the record set "adsList" with one column. `values` are separated by ','. Raises
  /// Error when the SQL text is not registered, DatabaseError.
  RecordSet Find(Database& database, std::string_view sql, std::string_view values) const;

 private:
  std::vector<ImportLookup> lookups_;
};

/// The SQL of a look-up for so many values, whose parameters are :v0, :v1, ...
std::string ImportLookupSql(const ImportLookup& lookup, bool folded, std::size_t values);

}  // namespace mox
