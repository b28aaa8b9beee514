#pragma once

#include <sqlite3.h>

#include <memory>
#include <span>
#include <vector>

#include "bench/lines.h"
#include "bench/plain_loop.h"

namespace mox::bench {

/// The lines as a table of a SQLite database in memory, columns in the order of the record set's fields, with
/// amounts as real numbers.
class SqliteLines {
 public:
  explicit SqliteLines(std::span<const PlainLine> lines);

  /// Base and tax by rate, tax rounded for each line, from one prepared query. A row's total is base plus
  /// tax; SQLite knows no last line whose fee could be added.
  std::vector<RateRow> Recapitulate();

 private:
  struct Close {
    void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };
  using Statement = std::unique_ptr<sqlite3_stmt, Close>;

  void Execute(const char* sql);
  Statement Prepare(const char* sql);
  void Require(int result, int expected);
  void Insert(std::span<const PlainLine> lines);

  std::unique_ptr<sqlite3, Close> database_;
  Statement recapitulation_;
};

}  // namespace mox::bench
