#pragma once

#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "appserver/connection.h"
#include "appserver/soci_headers.h"
#include "appserver/sql_text.h"
#include "appserver/statement.h"

namespace mox {

/// Where a value passes between the database and the program, in the form in which the database has it.
struct ValueSlot {
  FieldKind kind = FieldKind::kText;
  soci::indicator indicator = soci::i_null;
  double number = 0;                  // floats, currencies
  long long integer = 0;              // integers, Booleans
  std::string text;                   // texts, dates, moments
  std::unique_ptr<soci::blob> bytes;  // binaries
};

struct Statement::Impl {
  /// The SQL may call fold(x).
  Impl(DatabaseConnection& connection, std::string_view asked, std::span<const FieldKind> kinds);

  bool Answers(std::string_view sql_asked, std::span<const FieldKind> kinds) const;
  /// Forgets all values. False where it is not worth keeping, or is not known to be whole.
  bool Empty();

  ValueSlot& Parameter(std::size_t index);
  /// Makes the statement ready to answer columns of these kinds.
  void Expect(std::span<const FieldKind> kinds);
  /// Executes with the values that are bound, and passes over the answer but for its first value.
  Executed Run();
  /// Executes; true when there is a row.
  bool Execute();
  bool Fetch();

  DatabaseConnection& connection;
  std::string asked;
  std::string sql;  // as the engine has it
  ParameterNames names;
  bool changes_rows = false;
  std::vector<ValueSlot> parameters;
  std::vector<ValueSlot> answer;
  std::unique_ptr<soci::statement> statement;
  bool bound = false;
  bool ended = false;  // nothing failed, and no row is left to be fetched

 private:
  void Prepare();
  void RequireColumns(std::size_t expected, bool is_executed);
};

}  // namespace mox
