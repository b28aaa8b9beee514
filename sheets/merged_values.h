#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "sheets/row_builder.h"

namespace mox {

/// Cells of several rows that were merged into one: the rows count from 1, the column from 0.
struct MergedCells {
  std::size_t first_row = 0;
  std::size_t last_row = 0;
  std::size_t column = 0;  ///< the first one; the cells of the others stay empty
};

/// Puts the value of merged cells, which spreadsheets keep in the first row, into each of their rows.
class MergedValues {
 public:
  /// The value stands in the row that is read. False where no sheet has so many merged cells side by side.
  bool Start(const MergedCells& cells, const SheetCell& value);
  /// To be called for each row, after the starts. A row that has nothing but its part of merged cells stays
  /// empty: it is the lower half of a high row.
  void FillInto(RowBuilder& row, std::size_t number);

  /// For people; none where nothing was filled.
  std::vector<std::string> Remarks() const;

 private:
  struct Value {
    MergedCells cells;
    std::string text;
    CellForm form;
  };

  std::vector<Value> values_;
  std::vector<std::string> filled_;  // the first places
};

/// The name of a cell, "BC12"; the column counts from 0.
std::string CellName(std::size_t column, std::size_t row);

}  // namespace mox
