#include "bench/sqlite_lines.h"

#include <stdexcept>
#include <string>

namespace mox::bench {
namespace {

const char* SqlTypeOf(FieldKind kind) {
  switch (kind) {
    case FieldKind::kInteger:
      return "INTEGER";
    case FieldKind::kText:
      return "TEXT";
    default:
      return "REAL";
  }
}

struct Binder {
  sqlite3_stmt* statement;
  int parameter;

  int operator()(const std::string& text) const {
    return sqlite3_bind_text(statement, parameter, text.data(), static_cast<int>(text.size()),
                             SQLITE_TRANSIENT);
  }
  int operator()(std::int64_t number) const { return sqlite3_bind_int64(statement, parameter, number); }
  int operator()(double number) const { return sqlite3_bind_double(statement, parameter, number); }
  int operator()(Currency amount) const { return (*this)(amount.ToDouble()); }
  template <typename Other>
  int operator()(const Other&) const {
    throw std::logic_error("a line has no values of this kind");
  }
};

}  // namespace

SqliteLines::SqliteLines(std::span<const PlainLine> lines) {
  sqlite3* database = nullptr;
  const int opened = sqlite3_open(":memory:", &database);
  database_.reset(database);
  Require(opened, SQLITE_OK);

  std::string columns;
  for (const Column& column : Columns()) {
    columns += (columns.empty() ? "" : ", ") + std::string(column.name) + " " + SqlTypeOf(column.Kind());
  }
  Execute(("CREATE TABLE stavke (" + columns + ")").c_str());
  Insert(lines);
  // The base is left to the end, so that the rounding is evaluated once a line.
  recapitulation_ = Prepare(R"sql(
      SELECT tbr_stp, SUM(ukupno - pov_naki - neoporezivo),
             SUM(ROUND((ukupno - pov_naki - neoporezivo) * tbr_stp / (tbr_stp + 100), 2))
      FROM stavke GROUP BY tbr_stp)sql");
}

std::vector<RateRow> SqliteLines::Recapitulate() {
  std::vector<RateRow> rows;
  sqlite3_stmt* const statement = recapitulation_.get();
  int result = SQLITE_OK;
  while ((result = sqlite3_step(statement)) == SQLITE_ROW) {
    const Currency total = Currency::FromReal(sqlite3_column_double(statement, 1));
    const Currency tax = Currency::FromReal(sqlite3_column_double(statement, 2));
    rows.push_back(
        {.rate = sqlite3_column_double(statement, 0), .base = total - tax, .tax = tax, .total = total});
  }
  Require(result, SQLITE_DONE);
  Require(sqlite3_reset(statement), SQLITE_OK);
  return rows;
}

void SqliteLines::Insert(std::span<const PlainLine> lines) {
  std::string parameters = "?";
  for (std::size_t i = 1; i < kColumnCount; ++i) parameters += ", ?";
  const Statement insert = Prepare(("INSERT INTO stavke VALUES (" + parameters + ")").c_str());
  Execute("BEGIN");
  for (const PlainLine& line : lines) {
    int parameter = 0;
    for (const Column& column : Columns()) {
      Require(std::visit(Binder{insert.get(), ++parameter}, column.ValueOf(line)), SQLITE_OK);
    }
    Require(sqlite3_step(insert.get()), SQLITE_DONE);
    Require(sqlite3_reset(insert.get()), SQLITE_OK);
  }
  Execute("COMMIT");
}

void SqliteLines::Execute(const char* sql) {
  Require(sqlite3_exec(database_.get(), sql, nullptr, nullptr, nullptr), SQLITE_OK);
}

SqliteLines::Statement SqliteLines::Prepare(const char* sql) {
  sqlite3_stmt* statement = nullptr;
  Require(sqlite3_prepare_v2(database_.get(), sql, -1, &statement, nullptr), SQLITE_OK);
  return Statement(statement);
}

void SqliteLines::Require(int result, int expected) {
  if (result != expected) throw std::runtime_error(std::string("SQLite: ") + sqlite3_errmsg(database_.get()));
}

}  // namespace mox::bench
