#include "paper/table_layout.h"

#include <algorithm>

#include "mox/foundation/error.h"
#include "paper/page_tables.h"
#include "paper/text_painter.h"

namespace mox {
namespace {

// Texts that do not name goods get no more of the width than this part.
constexpr double kMostOfCode = 0.16;
constexpr double kLeastOfName = 0.2;

bool IsName(const PageTable::Column& column) { return column.column->name == "naziv"; }

// The longest word of a heading, which is broken between words only.
double WordWidth(const std::string& heading, const TextStyle& style, TextPainter& painter) {
  double width = 0;
  for (std::size_t at = 0; at < heading.size();) {
    const std::size_t end = std::min(heading.find(' ', at), heading.size());
    width = std::max(width, painter.WidthAtMost(heading.substr(at, end - at), style));
    at = end + 1;
  }
  return width;
}

// The greatest sum that may be shown below a column, in the letters of sums.
double SumWidth(const PageTable& table, std::size_t sum, const TextStyle& style, TextPainter& painter) {
  Currency most;
  Currency least;
  Currency running;
  bool fine = false;  // with parts of cents, which the greatest sum may not have
  for (const PageTable::Row& row : table.rows) {
    running += row.amounts[sum];
    fine = fine || row.amounts[sum].scaled() % 100 != 0;
    most = std::max(most, running);
    least = std::min(least, running);
  }
  const LocaleSettings& locale = CurrentLocale();
  double width = 0;
  for (const Currency amount : {most, least}) {
    const std::string text = AmountText(amount, locale) + (fine ? "00" : "");
    width = std::max(width, painter.WidthAtMost(text, style));
  }
  return width;
}

}  // namespace

TableLayout::TableLayout(const PageTable& table, TextPainter& painter, double size, double width,
                         double picture)
    : table_(table), painter_(painter), picture_(picture) {
  width += kSpace;  // nothing stands behind the last column
  constexpr double kSmallest = 4.2;
  constexpr double kStep = 0.94;
  while (!Fits(size, width)) {
    size *= kStep;
    if (size < kSmallest) {
      throw Error("the columns of the lines do not fit on the paper; a template with fewer of them does it");
    }
  }
  MeasureRows();
}

bool TableLayout::Fits(double size, double width) {
  style_ = {size, false};
  const TextStyle bold{size, true};
  widths_.assign(table_.columns.size(), 0);
  double taken = 0;
  std::size_t sum = 0;
  std::optional<std::size_t> name;
  for (std::size_t i = 0; i < table_.columns.size(); ++i) {
    const PageTable::Column& column = table_.columns[i];
    double& wide = widths_[i];
    if (IsName(column)) {
      name = i;
      continue;
    }
    for (const PageTable::Row& row : table_.rows)
      wide = std::max(wide, painter_.WidthAtMost(row.cells[i], style_));
    if (column.column->IsPicture()) wide = picture_;
    if (column.column->IsText()) wide = std::min(wide, width * kMostOfCode);
    if (column.column->IsSummed()) wide = std::max(wide, SumWidth(table_, sum++, bold, painter_));
    wide = std::max(wide, WordWidth(column.heading, bold, painter_)) + 1 + kSpace;
    taken += wide;
  }
  if (!name) return taken <= width;
  widths_[*name] = width - taken;
  return widths_[*name] >= width * kLeastOfName;
}

void TableLayout::MeasureRows() {
  line_height_ = painter_.LineHeight(style_);
  double heading = 0;
  for (std::size_t i = 0; i < table_.columns.size(); ++i) {
    heading = std::max(heading,
                       painter_.Measure(table_.columns[i].heading, {style_.size, true}, CellWidth(i)).height);
  }
  heading_height_ = heading + kPadding;
  heights_.reserve(table_.rows.size());
  for (const PageTable::Row& row : table_.rows) {
    double height =
        row.picture == nullptr ? line_height_ : std::max(line_height_, Placed(row.picture, 0, 0).height);
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      const bool is_short =
          !table_.columns[i].column->IsText() || painter_.WidthAtMost(row.cells[i], style_) <= CellWidth(i);
      if (is_short) continue;
      height = std::max(height, painter_.Measure(row.cells[i], style_, CellWidth(i)).height);
    }
    heights_.push_back(height + kPadding);
  }
}

LaidPicture TableLayout::Placed(const std::shared_ptr<const Picture>& picture, double x, double y) const {
  const double scale = picture_ / std::max(picture->width, picture->height);
  return {x, y, picture->width * scale, picture->height * scale, picture};
}

void TableLayout::PlaceCell(std::size_t column, double x, double y, const std::string& text, bool bold,
                            LaidSheet& sheet) const {
  if (text.empty()) return;
  const PageColumn& shown = *table_.columns[column].column;
  const Align align = shown.IsText() || shown.IsPicture() ? Align::kLeft : Align::kRight;
  sheet.texts.push_back({x, y, CellWidth(column), text, {style_.size, bold}, align, align == Align::kLeft});
}

void TableLayout::PlaceHeading(double x, double y, LaidSheet& sheet) const {
  for (std::size_t i = 0; i < table_.columns.size(); ++i) {
    PlaceCell(i, x, y, table_.columns[i].heading, true, sheet);
    if (!sheet.texts.empty()) sheet.texts.back().wraps = true;
    x += widths_[i];
  }
}

void TableLayout::PlaceRow(std::size_t row, double x, double y, LaidSheet& sheet) const {
  const std::vector<std::string>& cells = table_.rows[row].cells;
  const auto& picture = table_.rows[row].picture;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (picture != nullptr && table_.columns[i].column->IsPicture()) {
      sheet.pictures.push_back(Placed(picture, x, y + kPadding / 2));
    }
    PlaceCell(i, x, y + kPadding / 2, cells[i], false, sheet);
    x += widths_[i];
  }
}

void TableLayout::PlaceSums(const std::vector<std::string>& cells, const std::string& label, double x,
                            double y, LaidSheet& sheet) const {
  double before = 0;
  for (std::size_t i = 0; i < cells.size() && cells[i].empty(); ++i) before += widths_[i];
  if (before > 0)
    sheet.texts.push_back(
        {x, y + kPadding / 2, before - kSpace, label, {style_.size, true}, Align::kLeft, false});
  for (std::size_t i = 0; i < cells.size(); ++i) {
    PlaceCell(i, x, y + kPadding / 2, cells[i], true, sheet);
    x += widths_[i];
  }
}

}  // namespace mox
