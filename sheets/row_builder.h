#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "sheets/number_format.h"
#include "sheets/sheet_rows.h"

namespace mox {

/// What spreadsheets hold at most; a file that claims more is damaged or meant to do harm.
inline constexpr std::size_t kMostSheetRows = 1'048'576;
inline constexpr std::size_t kMostSheetColumns = 16'384;

/// Gathers the cells of one row of a spreadsheet. The texts of the row lie together, so that a row of many
/// cells takes no memory of its own.
class RowBuilder {
 public:
  void Clear();
  std::size_t Size() const { return places_.size(); }
  /// Leaves the cells before `column` empty.
  void PadTo(std::size_t column) { places_.resize(column); }
  /// The text of the row, to which that of the next cell is added.
  std::string& Text() { return text_; }
  /// Ends a cell whose text was added since the last one.
  void EndCell(CellForm form);
  /// Adds a cell whose text stands elsewhere, as long as the row is used.
  void AddCell(std::string_view text) { places_.push_back({0, text.size(), text.data(), FormOfText(text)}); }
  /// A cell of the row, also behind its end.
  bool IsEmpty(std::size_t column) const { return column >= places_.size() || places_[column].length == 0; }
  void Replace(std::size_t column, const SheetCell& cell);
  /// The same cells once more.
  void Repeat(std::size_t column, std::size_t times);
  bool HasNoText() const;

  /// The cells, without empty ones at the end; they hold until the row is cleared.
  std::span<const SheetCell> Cells();

 private:
  struct Place {
    std::size_t begin = 0;
    std::size_t length = 0;
    const char* elsewhere = nullptr;
    CellForm form = {};
  };

  std::string text_;
  std::size_t cell_begin_ = 0;
  std::vector<Place> places_;
  std::vector<SheetCell> cells_;
};

}  // namespace mox
