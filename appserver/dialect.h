#pragma once

#include <cstdint>
#include <exception>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/database.h"
#include "appserver/row_copy.h"
#include "appserver/soci_headers.h"

namespace mox {

struct SearchIndex;
struct SearchQuery;
struct ValueSlot;  // in statement.h

/// What stands for the column types of the schema files.
struct ColumnTypes {
  std::string_view key;               ///< of the column that is the table's integer primary key
  std::string_view behind_text = {};  ///< follows the type of a text: texts are sorted by their bytes
};

/// A table as the engine describes it.
struct TableDescription {
  std::string name;
  Columns columns;
  std::vector<Reference> references;  ///< what its columns refer to
};

/// What a statement did.
struct Executed {
  std::int64_t changed = 0;                 ///< rows that the last change of the connection was about
  std::optional<std::int64_t> answer = {};  ///< the first value that it answered, of an integer
};

/// Of statements that were sent ahead the first that is refused, and by which soci_error.
struct RefusedAhead {
  std::size_t at = 0;
  std::exception_ptr error;
};

/// All that differs between database engines. Everything else is portable SQL through SOCI.
class Dialect {
 public:
  Dialect() = default;
  virtual ~Dialect() = default;
  Dialect(const Dialect&) = delete;
  Dialect& operator=(const Dialect&) = delete;

  /// Opens an existing database. Raises soci_error, Error.
  virtual void Open(soci::session& session, const DatabaseLocation& location,
                    Database::Access access) const = 0;
  /// Makes a connection anew that is lost; false where it is not, or cannot be had now.
  virtual bool Reconnect(soci::session& session, const DatabaseLocation& location,
                         Database::Access access) const = 0;
  /// Creates a database and has it filled; it appears whole or not at all. Raises DatabaseError.
  virtual void Create(const DatabaseLocation& location,
                      const std::function<void(DatabaseConnection& connection)>& fill) const = 0;

  /// A new database without a file.
  virtual void OpenInMemory(soci::session& session) const = 0;

  /// None where it is no company database.
  virtual std::optional<int> SchemaVersion(soci::session& session) const = 0;
  virtual void SetSchemaVersion(soci::session& session, int version) const = 0;

  /// The expression without regard to letter case and to blanks at its ends: FoldKey in SQL.
  virtual std::string Fold(std::string_view expression) const = 0;
  /// The whole number, as an integer, that is nearest to a double; of two the one farther from 0.
  virtual std::string Nearest(std::string_view number) const = 0;
  /// The date so many days after another one, of whole days.
  virtual std::string DaysAfter(std::string_view date, std::string_view days) const = 0;
  /// What the engine has for the column types of the schema.
  virtual ColumnTypes Types() const = 0;
  /// Begins a transaction whose queries all see the same state.
  virtual std::string_view BeginRead() const = 0;
  /// Begins a transaction that no other writer can disturb, or none but those begun as beside others.
  virtual std::string_view BeginWrite(Writing writing) const = 0;
  /// Follows either in a database that was opened, in the same way there and back: fails where the company is
  /// not there any more.
  virtual std::string_view StillThere() const = 0;
  /// Whether the file that is open is not the one of that name any more.
  virtual bool IsFileGone(soci::session& session) const = 0;
  /// Whether several can write at once.
  virtual bool LetsOthersWrite() const = 0;
  /// Has these names, which are sorted, for the transaction alone. Raises soci_error.
  virtual void Claim(soci::session& session, const std::vector<std::string>& names) const = 0;
  /// What Recover undoes begins here. Raises soci_error.
  virtual void KeepSoFar(soci::session& session) const = 0;
  /// Null for an engine that stores rows as fast by one statement for each.
  virtual std::unique_ptr<RowCopy> CopyInto(DatabaseConnection& connection, std::string_view table,
                                            const std::vector<std::string>& columns) const = 0;
  /// The same for changes, as Database::ChangeTogether says.
  virtual std::unique_ptr<RowCopy> ChangeTogether(DatabaseConnection& connection, std::string_view table,
                                                  const std::vector<std::string>& columns,
                                                  const std::string& by) const = 0;
  /// After a failure: makes a write transaction usable where the engine needs that, which undoes what it has
  /// stored. Answers whether it did.
  virtual bool Recover(soci::session& session) const = 0;
  /// Whether the transaction can only be rolled back, which a COMMIT of it would do without saying so.
  virtual bool HasFailed(soci::session& session) const = 0;
  /// Whether the connection has ended.
  virtual bool IsLost(soci::session& session) const = 0;
  virtual std::size_t MostParameters() const = 0;

  /// Statements that make an index of that name over the texts of a table.
  virtual std::vector<std::string> MakeSearchIndex(const std::string& name,
                                                   const std::string& table) const = 0;
  /// Statements that take rows into it, so many new and so many changed ones at most; none for an engine that
  /// does so by itself.
  virtual std::vector<std::string> RefreshSearchIndex(const SearchIndex& index, int most) const = 0;
  /// Makes an index that is missing, in no transaction and while others write; nothing where somebody else
  /// does, and for an engine whose schema has it. Raises soci_error.
  virtual void MakeMissingSearchIndex(soci::session& /*session*/, const SearchIndex& /*index*/) const {}
  /// A query of how many rows are not in it yet, so many at most.
  virtual std::string CountUnindexed(const SearchIndex& index, int most) const = 0;
  /// A query of the rows, also of those that are not in it yet, that hold the folded text.
  virtual SearchQuery FindInSearchIndex(const SearchIndex& index, const std::string& folded,
                                        const std::string& parameter) const = 0;

  /// A query of all columns of tables but for those of the engine itself, by table and place: table, column,
  /// declared type, 1 where it must not be empty.
  virtual std::string_view ListColumns() const = 0;
  /// A query of what columns refer to: table, column, and those that are referred to.
  virtual std::string_view ListReferences() const = 0;
  /// A copy of an open database under a name that is free, while others write it. `reached` is called every
  /// now and then, and may raise. Raises soci_error, DatabaseError.
  virtual void BackUp(DatabaseConnection& database, const std::string& to,
                      const std::function<void()>& reached) const = 0;
  /// Puts what an open copy holds in the place of a database, which stays under the name that is answered.
  /// Raises soci_error, DatabaseError.
  virtual std::string Restore(DatabaseConnection& copy, const DatabaseLocation& location) const = 0;
  /// Creates a database in the place of one that may be there and has it filled; the old one stays under the
  /// name that is answered, empty where there was none. Raises DatabaseError.
  virtual std::string Replace(const DatabaseLocation& location,
                              const std::function<void(DatabaseConnection& connection)>& fill) const = 0;
  /// New rows get keys behind those that rows were stored with. Raises soci_error.
  virtual void GoOnBehindKeys(soci::session& session) const = 0;
  /// What the engine's full check finds, so many findings at most; empty where all is well.
  virtual std::vector<std::string> FindDamages(soci::session& session, int most) const = 0;

  /// Executes a prepared statement with the values of its parameters, in their order, and passes over what it
  /// answers but for its first value. For a row of an insert the exchange of values that SOCI makes of each
  /// parameter would cost half as much as the insert itself. Raises soci_error.
  virtual Executed Execute(soci::statement& statement, std::span<const ValueSlot> parameters) const = 0;
  /// Whether statements can be sent whose answers are read later, together. Behind one that is refused the
  /// engine passes over the rest.
  virtual bool SendsAhead() const { return false; }
  /// Sends one so. Raises soci_error.
  virtual void SendAhead(soci::statement& /*statement*/, std::span<const ValueSlot> /*parameters*/) const {}
  virtual void SendAhead(soci::session& /*session*/, const char* /*sql*/) const {}
  virtual std::optional<RefusedAhead> ReadAnswers(soci::session& /*session*/) const { return std::nullopt; }
  /// How many columns a prepared statement answers; none where the engine tells it of executed ones only.
  virtual std::optional<std::size_t> ColumnCount(soci::statement& statement, bool is_executed) const = 0;
  /// Ends a statement, of which not all rows may be fetched, and frees what it answered.
  virtual void Reset(soci::statement& statement) const = 0;
  /// Whether columns may be BLOBs.
  virtual bool StoresBinaries() const = 0;
  /// Whether the database failed, where otherwise it refused what it was given.
  virtual bool IsFailure(const soci::soci_error& error) const = 0;
  /// Whether it did because it is one too many: of files for this process, of connections for its server.
  virtual bool LacksRoom(const soci::soci_error& error, soci::session& session) const = 0;
  /// Whether the company is not there any more.
  virtual bool IsGone(const soci::soci_error& error) const = 0;
  /// What went wrong with the database there, for people, on one line.
  virtual std::string Explain(const soci::soci_error& error, soci::session& session,
                              const DatabaseLocation& location) const = 0;
  /// How long a connection waits for the transaction of another program; half a minute where nothing is said.
  /// The number must outlive the session's use.
  virtual void SetLongestWait(soci::session& session, const int& milliseconds) const = 0;
};

const Dialect& SqliteDialect();
const Dialect& PostgresqlDialect();
const Dialect& DialectOf(DatabaseLocation::Kind kind);

/// All tables, by name. They are read at once, as asking for each would cost more than most requests do.
/// Raises soci_error.
std::vector<TableDescription> ReadTables(soci::session& session, const Dialect& dialect);

/// The kind and size of a column that is declared so: "NUMERIC(19,4)" is a currency, "VARCHAR(20)" a text of
/// 20 characters.
FieldDef FieldOfColumn(std::string name, std::string_view declared_type, bool required);

}  // namespace mox
