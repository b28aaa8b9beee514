#include "cli/text_table.h"

#include <algorithm>
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
  bool empty = true;  // nothing worth showing so far
  std::vector<std::string> cells;
  std::size_t width = 0;
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

  std::string Value(const RecordRow& record, std::size_t index, FieldKind kind) const {
    switch (kind) {
      case FieldKind::kCurrency:
        return amount.Show(record.AsCurrency(index), locale);
      case FieldKind::kFloat:
        return number.Show(record.AsFloat(index), locale);
      case FieldKind::kBoolean:
        return record.AsBoolean(index) ? "da" : "ne";
      default:
        return ShownText(record.AsText(index));
    }
  }
};

bool IsWorthShowing(const RecordRow& record, std::size_t index, FieldKind kind) {
  if (record.IsNull(index)) return false;
  if (kind == FieldKind::kCurrency) return !record.AsCurrency(index).IsZero();
  if (IsNumber(kind)) return record.AsFloat(index) != 0;
  return kind != FieldKind::kText || !record.AsTextView(index).empty();
}

std::size_t DecimalsOf(const std::string& number, const std::string& separator) {
  const std::size_t at = number.find(separator);
  return at == std::string::npos ? 0 : number.size() - at - separator.size();
}

// Fills the decimals up with zeros, so that the separators stand in line.
void AlignDecimals(std::vector<std::string>& numbers) {
  const std::string& separator = CurrentLocale().decimal_separator;
  std::size_t most = 0;
  for (const std::string& number : numbers) most = std::max(most, DecimalsOf(number, separator));
  for (std::string& number : numbers) {
    const std::size_t decimals = DecimalsOf(number, separator);
    if (number.empty() || decimals == most) continue;
    if (decimals == 0) number += separator;
    number.append(most - decimals, '0');
  }
}

std::vector<TableColumn> CollectColumns(const RecordSet& records, const TableOptions& options) {
  const bool number_records = options.number_records;
  const Shown shown;
  std::vector<FieldKind> kinds;
  std::vector<TableColumn> columns;
  if (number_records) columns.push_back({"rb", true, false, false, {}, 0});
  for (std::size_t i = 0; i < records.FieldCount(); ++i) {
    const FieldDef& field = records.Definition(i);
    kinds.push_back(field.kind);
    const bool decimals = field.kind == FieldKind::kFloat || field.kind == FieldKind::kCurrency;
    columns.push_back({ShownText(field.name), IsNumber(field.kind), decimals, true, {}, 0});
  }
  for (TableColumn& column : columns) column.cells.reserve(records.RowCount());
  const std::size_t first = number_records ? 1 : 0;
  std::size_t row = 0;
  for (const RecordRow& record : records.Rows()) {
    ++row;
    if (number_records) columns[0].cells.push_back(std::to_string(row));
    for (std::size_t i = 0; i < kinds.size(); ++i) {
      TableColumn& column = columns[first + i];
      column.cells.push_back(record.IsNull(i) ? std::string() : shown.Value(record, i, kinds[i]));
      column.empty = column.empty && !IsWorthShowing(record, i, kinds[i]);
    }
  }
  if (options.hide_empty && row > 0)
    std::erase_if(columns, [](const TableColumn& column) { return column.empty; });
  return columns;
}

void AppendPadded(const std::string& text, const TableColumn& column, bool last, std::string& out) {
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
    const std::string& cell = cell_of(*column);
    AppendPadded(cell, *column, column == block.back(), out);
  }
  const std::size_t last = out.find_last_not_of(' ');
  out.erase(last == std::string::npos || last < begin ? begin : last + 1);
  out += '\n';
}

void AppendBlock(const Block& block, std::size_t rows, std::string& out) {
  AppendLine(
      block, [](const TableColumn& column) -> const std::string& { return column.heading; }, out);
  AppendLine(
      block, [](const TableColumn& column) { return std::string(column.width, '-'); }, out);
  for (std::size_t row = 0; row < rows; ++row) {
    AppendLine(
        block, [row](const TableColumn& column) -> const std::string& { return column.cells[row]; }, out);
  }
}

}  // namespace

void AppendTable(const RecordSet& records, const TableOptions& options, std::string& out) {
  std::vector<TableColumn> columns = CollectColumns(records, options);
  for (TableColumn& column : columns) {
    if (column.aligns_decimals) AlignDecimals(column.cells);
    column.width = CountCharacters(column.heading);
    for (const std::string& cell : column.cells) column.width = std::max(column.width, CountCharacters(cell));
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
