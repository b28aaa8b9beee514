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
  Impl(DatabaseConnection& connection, std::string sql, std::span<const FieldKind> kinds);

  ValueSlot& Parameter(std::size_t index);
  /// Makes the statement ready to answer columns of these kinds.
  void Expect(std::span<const FieldKind> kinds);
  /// Executes with the values that are bound, and passes over the answer but for its first value.
  Executed Run();
  /// Executes; true when there is a row.
  bool Execute();
  bool Fetch();

  DatabaseConnection& connection;
  std::string sql;
  ParameterNames names;
  bool changes_rows = false;
  std::vector<ValueSlot> parameters;
  std::vector<ValueSlot> answer;
  std::unique_ptr<soci::statement> statement;
  bool bound = false;

 private:
  void Prepare();
  void RequireColumns(std::size_t expected, bool is_executed);
};

}  // namespace mox
