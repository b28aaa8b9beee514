#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "appserver/database_location.h"
#include "appserver/statement.h"
#include "mox/foundation/field.h"
#include "mox/foundation/record_set.h"

namespace mox {

class DatabaseConnection;  // what knows the engine, in connection.h
struct SchemaFamily;       // what a database holds, in migrations.h
class Dialect;             // what differs between engines, in dialect.h
struct SearchIndex;        // in which parts of texts are found, in search_index.h
class RowCopy;             // rows that are stored together, in row_copy.h

/// The columns of an answer: names with their kinds, in order.
using Columns = std::vector<FieldDef>;

/// The rows of `table` that a column refers to by their `key`.
struct Reference {
  std::string column;
  std::string table;
  std::string key;
};
/// From "id:integer,naziv:text,tecaj:float"; a name without a kind is a text.
Columns ParseColumns(std::string_view columns);
/// Null where there is none of that name.
const FieldDef* FindColumn(const Columns& columns, std::string_view name);

/// Whether a new database begins with a made-up company, its partners and an article, or with reference data
/// alone.
enum class WithDemo : std::uint8_t { kNo, kYes };

/// Who else may store while a transaction does. Where others may, they are such transactions too, and each
/// claims what nobody is to change meanwhile (Database::Claim); an engine that lets one program write at a
/// time lets nobody.
enum class Writing : std::uint8_t { kAlone, kBesideOthers };

/// A company database: one file with a versioned schema. An object is used by one thread; any number of
/// processes may use one file at the same time.
///
/// Amounts are stored as numbers with four decimals and refused where the engine could not give them back
/// exactly (beyond 450 thousand million); dates and moments as ISO 8601 texts, Booleans as 0 and 1.
class Database {
 public:
  enum class Access : std::uint8_t { kReadWrite, kReadOnly };

  /// Creates the file with the newest schema, the reference data and what `fill` stores, which runs in a
  /// transaction of its own; it appears whole or not at all, and only its owner may read it. Raises
  /// DatabaseError, also when the file exists, and what `fill` raises.
  static void Create(const DatabaseLocation& location, WithDemo demo = WithDemo::kNo,
                     const std::function<void(Database& created)>& fill = nullptr);
  /// The newest schema with the reference data, in memory and without a file.
  static Database InMemory();
  /// Opens an existing file. With kReadWrite an older schema is brought to the newest one in one transaction.
  /// Raises DatabaseError for a file that does not exist, is no company database, is damaged, or was written
  /// by a newer program. `connected` is called once the database is reached.
  explicit Database(const DatabaseLocation& location, Access access = Access::kReadWrite,
                    const std::function<void()>& connected = {});
  /// The same for databases of another schema than a company's, and without reference data.
  Database(const DatabaseLocation& location, const SchemaFamily& family, Access access = Access::kReadWrite,
           const std::function<void()>& connected = {});
  static void Create(const DatabaseLocation& location, const SchemaFamily& family);
  ~Database();
  Database(Database&& other) noexcept;
  Database& operator=(Database&& other) noexcept;

  const DatabaseLocation& location() const;
  const Dialect& dialect() const;
  int SchemaVersion();
  /// For the transaction of another program; kLongestWait where nothing is said.
  static constexpr int kLongestWait = 30'000;
  void WaitAtMost(int milliseconds);
  /// Each transaction does so by itself: raises CompanyGone where the file is not the one of its name any
  /// more.
  void RequireThere();
  /// Waits for what the engine says to statements that were executed ahead.
  void Settle();

  /// Portable SQL; `fold(column)` stands for the column without regard to letter case and to blanks at its
  /// ends, as the indexes on such columns have it. Raises DatabaseError.
  Statement Prepare(std::string_view sql, std::span<const FieldKind> parameter_kinds);
  Statement Prepare(std::string_view sql, std::initializer_list<FieldKind> parameter_kinds);
  /// With parameters of the kinds of these values, which are bound.
  Statement PrepareWith(std::string_view sql, std::span<const Value> values);
  /// Prepares, binds and executes once. The kinds of the parameters are those of the values.
  std::int64_t Execute(std::string_view sql, std::initializer_list<Value> values = {});
  /// As Statement::ExecuteAhead.
  void ExecuteAhead(std::string_view sql, std::initializer_list<Value> values);
  /// The rows as a record set of that name, its first record current.
  RecordSet Query(std::string_view name, const Columns& columns, std::string_view sql,
                  std::span<const Value> values = {});
  RecordSet Query(std::string_view name, const Columns& columns, std::string_view sql,
                  std::initializer_list<Value> values) {
    return Query(name, columns, sql, std::span(values.begin(), values.size()));
  }

  /// The fields of a table in their order, with the kinds of their columns; empty where there is no such
  /// table.
  Columns TableColumns(std::string_view table);
  /// What the columns of a table refer to.
  std::vector<Reference> References(std::string_view table);
  /// All tables, by name.
  std::vector<std::string> TableNames();
  /// What is damaged and which references lead nowhere, a line each and so many at most.
  std::vector<std::string> FindDamages(int most);
  /// Copies the database to a file whose name is free, as it is at this moment, while others read and write
  /// it. The copy is checked, appears whole or not at all, and is its owner's alone. Of a company on a server
  /// it is a file like any other company database. `reached` is called every now and then; where it raises,
  /// there is no copy. Raises DatabaseError.
  void BackUp(const std::string& to, const std::function<void()>& reached = nullptr);
  /// Puts what this database holds in the place of another one, or of a file that is damaged or missing: at
  /// once, checked before, and with nothing left of the old one beside it. Raises DatabaseError where other
  /// programs use that one; it is as it was then. Answers the name beside it under which the old file stays,
  /// empty where there was none.
  std::string Restore(const DatabaseLocation& location);
  /// Reads the whole file; raises DatabaseError that says what is damaged.
  void Check();

  /// Whether it was opened for writing, too.
  bool MayBeWritten() const;
  void MakeMissingSearchIndex(const SearchIndex& index);

  /// Of calls on this object whether it is the first one or another `each` ones on.
  bool IsTurn(unsigned each) { return turns_++ % each == 0; }

  /// Whether others may be storing beside the present write transaction.
  bool WritesBesideOthers() const;
  /// Waits until nobody else has claimed these, and keeps them until the transaction ends. So that no two
  /// wait for each other they are claimed in this order: the document that is cancelled, "storno/ID"; the
  /// numbers, "dok/KIND/YEAR"; articles, "art/ID"; partners, "par/ID"; a user's links, "veze/USER"; several
  /// of one sort in one call. Nothing where nobody else can be storing. Raises DatabaseUnavailable.
  void Claim(std::vector<std::string> names);
  /// What was stored so far in the present write transaction stays when what follows is refused; it is not
  /// committed then all the same. An engine that undoes one statement alone needs nothing.
  void KeepSoFar();
  /// Null where rows are stored as fast by one statement for each.
  std::unique_ptr<RowCopy> CopyInto(std::string_view table, const std::vector<std::string>& columns);

  /// The same for changes: the values of `columns`, of which those that are there take the places of those of
  /// the rows whose folded text in `by` is the last value.
  std::unique_ptr<RowCopy> ChangeTogether(std::string_view table, const std::vector<std::string>& columns,
                                          const std::string& by);

  /// The same for rows that are there: the values of `columns` take the places of all of theirs, where the
  /// last value is the row's id.
  std::unique_ptr<RowCopy> ReplaceTogether(std::string_view table, const std::vector<std::string>& columns);

  /// How many values one statement may be given.
  std::size_t MostParameters() const;

 private:
  void FillCopy(DatabaseConnection& copy, const std::function<void()>& reached = nullptr);

  friend class WriteTransaction;
  friend class ReadTransaction;
  explicit Database(std::shared_ptr<DatabaseConnection> connection) : connection_(std::move(connection)) {}
  std::shared_ptr<DatabaseConnection> connection_;
  unsigned turns_ = 0;
};

/// All queries of its lifetime see the database as it was at the first one, whatever other processes write.
class [[nodiscard]] ReadTransaction {
 public:
  explicit ReadTransaction(Database& database);
  ~ReadTransaction();
  ReadTransaction(const ReadTransaction&) = delete;
  ReadTransaction& operator=(const ReadTransaction&) = delete;

 private:
  Database& database_;
};

/// A write transaction: everything until Commit, or nothing. It has the file for itself from the beginning
/// and waits for another process's transaction to end.
class [[nodiscard]] WriteTransaction {
 public:
  /// Raises DatabaseUnavailable.
  explicit WriteTransaction(Database& database, Writing writing = Writing::kAlone);
  /// Rolls back what was not committed.
  ~WriteTransaction();
  WriteTransaction(const WriteTransaction&) = delete;
  WriteTransaction& operator=(const WriteTransaction&) = delete;
  void Commit();

 private:
  Database& database_;
  bool open_ = true;
};

}  // namespace mox
