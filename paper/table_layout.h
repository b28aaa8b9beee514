#pragma once

#include <string>
#include <vector>

#include "paper/layout.h"
#include "paper/page.h"

namespace mox {

class TextPainter;

/// Where the cells of a table stand: columns of numbers as wide as what is in them, one column of texts takes
/// the rest and breaks its texts. Letters are made smaller until everything fits; raises Error where it does
/// not even then.
class TableLayout {
 public:
  /// `picture` is how high and wide the pictures of lines may be.
  TableLayout(const PageTable& table, TextPainter& painter, double size, double width, double picture);

  double LineHeight() const { return line_height_ + kPadding; }
  double HeadingHeight() const { return heading_height_; }
  double RowHeight(std::size_t row) const { return heights_[row]; }

  void PlaceHeading(double x, double y, LaidSheet& sheet) const;
  void PlaceRow(std::size_t row, double x, double y, LaidSheet& sheet) const;
  /// The label stands in the columns before the first sum.
  void PlaceSums(const std::vector<std::string>& cells, const std::string& label, double x, double y,
                 LaidSheet& sheet) const;

 private:
  static constexpr double kPadding = 3;
  static constexpr double kSpace = 6;  // between columns

  LaidPicture Placed(const std::shared_ptr<const Picture>& picture, double x, double y) const;
  bool Fits(double size, double width);
  void MeasureRows();
  double CellWidth(std::size_t column) const { return widths_[column] - kSpace; }
  void PlaceCell(std::size_t column, double x, double y, const std::string& text, bool bold,
                 LaidSheet& sheet) const;

  const PageTable& table_;
  TextPainter& painter_;
  double picture_;
  TextStyle style_;
  std::vector<double> widths_;  // with the space behind them
  std::vector<double> heights_;
  double line_height_ = 0;
  double heading_height_ = 0;
};

}  // namespace mox
