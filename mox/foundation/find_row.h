#pragma once

#include <iterator>
#include <string_view>

namespace mox {

/// The row of a table whose `name` is the given one, letter for letter, or null.
template <typename Table>
auto FindRow(const Table& table, std::string_view name) -> decltype(&*std::begin(table)) {
  for (const auto& row : table) {
    if (row.name == name) return &row;
  }
  return nullptr;
}

}  // namespace mox
