#include "cli/text_table.h"

#include <algorithm>
#include <string_view>
#include <utility>
#include <vector>

#include "cli/record_set_file.h"
#include "mox/foundation/app.h"
#include "mox/foundation/display_format.h"
#include "mox/foundation/text.h"
#include "mox/foundation/visible_text.h"

namespace mox {
namespace {

constexpr std::size_t kLongestText = 40;
constexpr std::string_view kGap = "  ";

struct TableColumn {
  std::string heading;
  bool to_the_right = false;
  bool aligns_decimals = false;
  bool empty = true;                   // nothing worth showing so far
  std::string text = {};               // of all cells, one behind the other
  std::vector<std::size_t> ends = {};  // of the cells in it
  std::size_t width = 0;

  void EndCell() { ends.push_back(text.size()); }
  std::string_view Cell(std::size_t row) const {
    const std::size_t begin = row == 0 ? 0 : ends[row - 1];
    return std::string_view(text).substr(begin, ends[row] - begin);
  }
};

bool IsNumber(FieldKind kind) {
  return kind == FieldKind::kInteger || kind == FieldKind::kFloat || kind == FieldKind::kCurrency;
}

// A text on one line and not too long: line breaks and tabs are blanks, other control characters escapes.
std::string ShownText(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
  text = VisibleText(text);
  if (CountCharacters(text) <= kLongestText) return text;
  return std::string(CutToCharacters(text, kLongestText - 1)) + "…";
}

// How the values of a table are shown; what does not change from cell to cell is looked up once.
struct Shown {
  const LocaleSettings& locale = CurrentLocale();
  NumberMask amount{"#,0.00##"};
  NumberMask number{"#,0.####"};

  void AppendTo(std::string& out, const RecordRow& record, std::size_t index, FieldKind kind) const {
    switch (kind) {
      case FieldKind::kCurrency:
        return amount.AppendTo(out, record.AsCurrency(index), locale);
      case FieldKind::kFloat:
        return number.AppendTo(out, record.AsFloat(index), locale);
      case FieldKind::kBoolean:
        out += record.AsBoolean(index) ? "da" : "ne";
        return;
      default:
        out += ShownText(record.AsText(index));
    }
  }
};

bool IsWorthShowing(const RecordRow& record, std::size_t index, FieldKind kind) {
  if (record.IsNull(index)) return false;
  if (kind == FieldKind::kCurrency) return !record.AsCurrency(index).IsZero();
  if (IsNumber(kind)) return record.AsFloat(index) != 0;
  return kind != FieldKind::kText || !record.AsTextView(index).empty();
}

std::size_t DecimalsOf(std::string_view number, std::string_view separator) {
  const std::size_t at = number.find(separator);
  return at == std::string_view::npos ? 0 : number.size() - at - separator.size();
}

// Fills the decimals up with zeros, so that the separators stand in line.
void AlignDecimals(TableColumn& column) {
  const std::string& separator = CurrentLocale().decimal_separator;
  std::vector<std::size_t> decimals(column.ends.size());
  std::size_t most = 0;
  for (std::size_t row = 0; row < decimals.size(); ++row) {
    decimals[row] = DecimalsOf(column.Cell(row), separator);
    most = std::max(most, decimals[row]);
  }
  TableColumn aligned;
  aligned.text.reserve(column.text.size() + decimals.size() * (most + separator.size()));
  aligned.ends.reserve(decimals.size());
  for (std::size_t row = 0; row < decimals.size(); ++row) {
    const std::string_view number = column.Cell(row);
    aligned.text += number;
    if (!number.empty() && decimals[row] < most) {
      if (decimals[row] == 0) aligned.text += separator;
      aligned.text.append(most - decimals[row], '0');
    }
    aligned.EndCell();
  }
  column.text = std::move(aligned.text);
  column.ends = std::move(aligned.ends);
}

std::vector<TableColumn> CollectColumns(const RecordSet& records, const TableOptions& options) {
  const bool number_records = options.number_records;
  const Shown shown;
  std::vector<FieldKind> kinds;
  std::vector<TableColumn> columns;
  if (number_records) {
    columns.push_back({.heading = "rb", .to_the_right = true, .empty = false});
  }
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    const FieldDef& field = records.Definition(i);
    kinds.push_back(field.kind);
    const bool decimals = field.kind == FieldKind::kFloat || field.kind == FieldKind::kCurrency;
    columns.push_back({.heading = ShownText(field.name),
                       .to_the_right = IsNumber(field.kind),
                       .aligns_decimals = decimals});
  }
  for (TableColumn& column : columns) column.ends.reserve(records.RowCount());
  const std::size_t first = number_records ? 1 : 0;
  std::size_t row = 0;
  for (const RecordRow& record : records.Rows()) {
    ++row;
    if (number_records) {
      columns[0].text += std::to_string(row);
      columns[0].EndCell();
    }
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      TableColumn& column = columns[first + i];
      if (!record.IsNull(i)) shown.AppendTo(column.text, record, i, kinds[i]);
      column.EndCell();
      column.empty = column.empty && !IsWorthShowing(record, i, kinds[i]);
    }
  }
  if (options.hide_empty && row > 0)
    std::erase_if(columns, [](const TableColumn& column) { return column.empty; });
  return columns;
}

void AppendPadded(std::string_view text, const TableColumn& column, bool last, std::string& out) {
  const std::size_t blanks = column.width - CountCharacters(text);
  if (column.to_the_right) out.append(blanks, ' ');
  out += text;
  if (!column.to_the_right && !last) out.append(blanks, ' ');
}

using Block = std::vector<const TableColumn*>;

template <typename CellOf>
void AppendLine(const Block& block, CellOf cell_of, std::string& out) {
  const std::size_t begin = out.size();
  for (const TableColumn* column : block) {
    if (column != block.front()) out += kGap;
    const auto cell = cell_of(*column);  // a view of its text, or a text
    AppendPadded(cell, *column, column == block.back(), out);
  }
  const std::size_t last = out.find_last_not_of(' ');
  out.erase(last == std::string::npos || last < begin ? begin : last + 1);
  out += '\n';
}

void AppendBlock(const Block& block, std::size_t rows, std::string& out) {
  AppendLine(
      block, [](const TableColumn& column) { return std::string_view(column.heading); }, out);
  AppendLine(
      block, [](const TableColumn& column) { return std::string(column.width, '-'); }, out);
  for (std::size_t row = 0; row < rows; ++row) {
    AppendLine(
        block, [row](const TableColumn& column) { return column.Cell(row); }, out);
  }
}

}  // namespace

void AppendTable(const RecordSet& records, const TableOptions& options, std::string& out) {
  std::vector<TableColumn> columns = CollectColumns(records, options);
  for (TableColumn& column : columns) {
    if (column.aligns_decimals) AlignDecimals(column);
    column.width = CountCharacters(column.heading);
    for (std::size_t row = 0; row < column.ends.size(); ++row) {
      column.width = std::max(column.width, CountCharacters(column.Cell(row)));
    }
  }
  const std::size_t rows = records.RowCount();
  const std::size_t repeated = options.number_records ? 1 : 0;  // at the head of each block
  Block block;
  std::size_t width = 0;
  for (const TableColumn& column : columns) {
    if (block.size() > repeated && width + column.width > options.width) {
      AppendBlock(block, rows, out);
      out += '\n';
      block.resize(repeated);
      width = repeated == 0 ? 0 : columns[0].width + kGap.size();
    }
    block.push_back(&column);
    width += column.width + kGap.size();
  }
  if (!block.empty()) AppendBlock(block, rows, out);
}

void AppendTableOrFile(const RecordSet& records, bool table, std::string& out, const TableOptions& options) {
  if (table) return AppendTable(records, options, out);
  WriteRecordSet(records, out);
}

}  // namespace mox
