#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/find_row.h"

namespace mox {

/// `; did you mean "a" or "b"?` with the names that come near to the unknown one, at most three; empty when
/// none does.
std::string DidYouMean(std::string_view unknown, const std::vector<std::string_view>& names);

/// `there is no function "x"; did you mean "y"? --list names them all`
std::string ThereIsNo(std::string_view what, std::string_view unknown,
                      const std::vector<std::string_view>& names);

/// The names of the rows of a table.
template <typename Table>
std::vector<std::string_view> NamesOf(const Table& table) {
  std::vector<std::string_view> names;
  names.reserve(std::size(table));
  for (const auto& row : table) names.push_back(row.name);
  return names;
}

/// What is near to an unknown name among the rows of a table.
template <typename Table>
std::string DidYouMeanAmong(const Table& table, std::string_view unknown) {
  return DidYouMean(unknown, NamesOf(table));
}

}  // namespace mox
