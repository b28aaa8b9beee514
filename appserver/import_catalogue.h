#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"
#include "mox/import/import_check.h"

namespace mox {

/// A look-up of the import grid: which of a column's pasted values stand in the database.
struct ImportLookup {
  std::string sql;       ///< the text under which clients ask for it, letter for letter
  std::string selected;  ///< the column that is answered, and under which name
  std::string answer;
  std::string table;
  std::string matched;   ///< the column that is searched
  bool numeric = false;  ///< values are numbers, though the matched column may hold texts of digits

  /// Of "select SELECTED as ANSWER from TABLE where MATCHED in": `as ANSWER` or `as` may be left out, MATCHED
  /// may stand in upper(). Raises Error for a text of any other form.
  static ImportLookup Parse(std::string_view sql, bool numeric = false);
};

/// The look-ups that the server runs; a client's SQL text only chooses one of them.
///
/// Values are found without regard to letter case and to blanks at their ends, through the index on
/// fold(matched), in portions that the database accepts. Where the matched column is a number or the look-up
/// numeric, "25", "25.0" and "25,00" are the same value, and the answer has the values as they were asked
/// for.
class ImportCatalogue {
 public:
  /// Has the look-ups of the import profiles.
  ImportCatalogue();

  /// Raises Error for an SQL text that is registered already or has not the form of a look-up.
  void Register(std::string_view sql, bool numeric = false);
  const std::vector<ImportLookup>& Lookups() const { return lookups_; }

  /// The found values, as the record set "adsList" with one column. Raises Error when the SQL text is not
  /// registered, DatabaseError.
  RecordSet Find(Database& database, std::string_view sql, const ImportValues& values) const;

  /// The values that a look-up finds, in their order, at most so many: one column. Raises as Find.
  RecordSet Choices(Database& database, std::string_view sql, std::size_t most) const;

 private:
  /// Raises Error when the SQL text is not registered.
  const ImportLookup& LookupOf(std::string_view sql) const;
  const ImportLookup* FindLookup(std::string_view sql) const;

  std::vector<ImportLookup> lookups_;
};

/// The SQL of a look-up for so many values, whose parameters are :v0, :v1, ...
std::string ImportLookupSql(const ImportLookup& lookup, bool folded, std::size_t values);

}  // namespace mox
