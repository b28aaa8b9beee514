#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/record_set.h"
#include "mox/import/import_field.h"

namespace mox {

/// The passes that the check of a column consists of, in their order.
enum class ImportPass : std::uint8_t {
  kRequired,
  kLookup,
  kFormat,
  kUnique,
  kStore  ///< none of the check: what the server found when it stored
};

/// One thing that is wrong with one cell.
struct ImportFault {
  std::size_t row;     ///< from 1
  std::size_t column;  ///< position in the field list
  ImportPass pass;
  std::string value;   ///< of the cell
  std::string reason;  ///< "is not a number"
};

/// What a fault adds to the fault text of its row: " Req:NAZIV", " Lookup:DRZAVA:XX", " Format:DATUM" or
/// " Jedinstven:SIFRA"; " Pohrana:SIFRA" where the server refused it.
std::string FaultFragment(const ImportFault& fault, const ImportFieldDef& field);

/// The values of a column that a server is asked for.
struct ImportValues {
  std::string list;  ///< all that are not null, joined with "','"; "0" where there is none
  std::string
      apart;  ///< those that cannot be told in the list, which has its separator in them: one to a line
};

/// How many rows a check handles before it tells where it has come to, so that a user can end it at once.
inline constexpr std::size_t kImportRowsBetween = 1024;

/// Whom a check asks about a sheet's values, and tells where it has come to.
class ImportLookups {
 public:
  virtual ~ImportLookups() = default;
  /// The values of a column that stand in the database: a record set with a field of the column's name.
  /// `values` are those of all rows. Called once for each column and query. What it raises ends the check.
  virtual RecordSet Find(const ImportFieldDef& field, const std::string& sql, ImportValues values) = 0;
  /// Before the passes of a column, and before each pass, also one that the column does not have.
  virtual void BeginColumn(std::size_t /*position*/) {}
  virtual void BeginPass(const ImportFieldDef& /*field*/, ImportPass /*pass*/) {}
  /// After every kImportRowsBetween rows while their values are joined.
  virtual void Reached(std::size_t /*row*/) {}
};

/// The outcome of a check.
struct CheckedImport {
  /// "adsForDBSave": a row for each of the sheet, with the kinds and sizes of the profile. What could not be
  /// converted is null, a text that is too long is cut.
  RecordSet rows;
  std::vector<ImportFault> faults;  ///< by rows, then columns, then passes
};

/// Checks a sheet: `rows` has a text field for each column of the profile, and all its records are looked at,
/// whatever its filter, as they were posted. Nothing but look-ups is asked of a server, once for each column.
///
/// A cell is faulty that is required and empty; that must be in the database and is not, without regard to
/// letter case and to blanks at its ends; that is no value of its kind as the user's locale writes it, has a
/// control character or is longer than its column; that must be new and is in the database, without regard to
/// the case of the letters a to z. Raises ConversionError for a definition that cannot be read, FieldNotFound
/// for a column that `rows` lacks, and what the look-ups raise.
CheckedImport CheckImport(std::span<const ImportFieldDef> profile, const RecordSet& rows,
                          ImportLookups& lookups);

/// The set that checked rows are put into, without rows. Raises ConversionError where a kind or a size is no
/// integer, Error where there is no such kind.
RecordSet TypedRows(std::span<const ImportFieldDef> profile);

/// Those of all rows. Raises FieldNotFound.
ImportValues ValuesOf(const RecordTable& rows, std::string_view field_name);

/// A value as uniqueness compares it: without regard to the case of the letters a to z only, with all blanks.
std::string UniqueKey(std::string_view text);

}  // namespace mox
