#pragma once

#include <string>
#include <vector>

#include "appserver/database.h"

namespace mox {

/// An index in which the rows of a table are found by a part of any of their texts; schema files make it with
/// CREATE SEARCH INDEX. Rows that were stored or changed lately need not be in it yet: they are found all the
/// same, and are taken into it by the next write (RefreshSearchIndexes).
struct SearchIndex {
  std::string name;
  std::string table;
  std::vector<std::string> columns;  ///< all texts of the table that people search
};

/// A query of the ids of rows, and what its parameters are, in the order in which they first appear.
struct SearchQuery {
  std::string sql;
  std::vector<Value> values;
};

/// Of the rows that hold the folded text in one of the columns; `parameter` begins the names of the query's
/// parameters.
SearchQuery FindInIndex(const Database& database, const SearchIndex& index, const std::string& folded,
                        const std::string& parameter);

/// Takes at most so many rows into each index, and as many changes. Runs in the caller's transaction.
void RefreshSearchIndexes(Database& database, int most);

/// Makes indexes that are missing, and takes all rows into those that have fallen behind, in transactions of
/// its own; a few are left to the next write. Nothing where the database cannot be written now.
void CatchUpSearchIndexes(Database& database);

}  // namespace mox
