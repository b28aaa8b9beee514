#include "cli/import_text.h"

#include <algorithm>
#include <string_view>

#include "cli/csv_scanner.h"
#include "cli/text_encoding.h"
#include "mox/foundation/error.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kMostNamed = 20;  // cells of one remark

using Cells = std::vector<CsvCell>;

// One line of a tab-separated text.
void SplitAtTabs(std::string_view line, Cells& cells) {
  cells.clear();
  for (;;) {
    const std::size_t tab = line.find('\t');
    cells.push_back({line.substr(0, tab)});
    if (tab == std::string_view::npos) return;
    line.remove_prefix(tab + 1);
  }
}

std::string_view TakeLine(std::string_view& text) {
  const std::size_t end = text.find('\n');
  std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
  if (line.ends_with('\r')) line.remove_suffix(1);
  return line;
}

std::size_t CellsOfFirstRow(std::string_view text, char separator) {
  Cells cells;
  try {
    CsvScanner(text, separator).Next(cells);
  } catch (const CsvFault&) {
    return 0;
  }
  return cells.size();
}

char SeparatorOf(std::string_view text, std::size_t columns) {
  const std::size_t with_commas = CellsOfFirstRow(text, ',');
  const std::size_t with_semicolons = CellsOfFirstRow(text, ';');
  if (with_semicolons == columns) return ';';
  return with_commas != columns && with_semicolons > 1 ? ';' : ',';
}

// Cells of the sheet that something happened to, of which the first are named.
class NamedCells {
 public:
  explicit NamedCells(std::string what) : what_(std::move(what)) {}
  void Add(std::size_t row, const std::string& column) {
    if (++count_ <= kMostNamed) {
      names_ += (names_.empty() ? "row " : "; row ") + std::to_string(row) + " " + column;
    }
  }
  void AppendTo(std::vector<std::string>& remarks) const {
    if (count_ == 0) return;
    const std::string rest =
        count_ > kMostNamed ? " and " + std::to_string(count_ - kMostNamed) + " more" : "";
    remarks.push_back("warning: " + what_ + ": " + names_ + rest);
  }

 private:
  std::string what_;
  std::string names_;
  std::size_t count_ = 0;
};

class SheetReader {
 public:
  SheetReader(const FileText& file, std::span<const SheetColumn> columns) : file_(file), columns_(columns) {
    try {
      decoded_ = DecodeText(file.bytes);
    } catch (const Error& error) {
      throw Error(file.label + ":" + error.what());
    }
    if (decoded_.encoding != "UTF-8") {
      sheet_.remarks.push_back(file.label + " is read as " + std::string(decoded_.encoding));
    }
    sheet_.text.reserve(decoded_.text.size() + 1);
  }

  SheetText Read(SheetForm form, bool heading) {
    if (form == SheetForm::kTabs) {
      ReadLines(heading);
    } else {
      ReadCsv(heading);
    }
    cut_.AppendTo(sheet_.remarks);
    flattened_.AppendTo(sheet_.remarks);
    return std::move(sheet_);
  }

 private:
  void ReadLines(bool heading) {
    std::string_view text = decoded_.text;
    if (heading) TakeLine(text);
    Cells cells;
    while (!text.empty()) {
      SplitAtTabs(TakeLine(text), cells);
      AddRow(cells);
    }
  }

  void ReadCsv(bool heading) {
    CsvScanner scanner(decoded_.text, SeparatorOf(decoded_.text, columns_.size()));
    Cells cells;
    try {
      if (heading) scanner.Next(cells);
      while (scanner.Next(cells)) AddRow(cells);
    } catch (const CsvFault& fault) {
      throw Error(file_.label + ":" + std::to_string(scanner.line()) + ": cell " +
                  std::to_string(fault.cell + 1) + ": " + fault.reason);
    }
  }

  void AddRow(Cells& cells) {
    ++sheet_.rows;
    while (cells.size() > columns_.size() && cells.back().text.empty()) cells.pop_back();
    if (cells.size() > columns_.size()) {
      throw Error(file_.label + ": row " + std::to_string(sheet_.rows) + " has " +
                  std::to_string(cells.size()) + " cells, and there are " + std::to_string(columns_.size()) +
                  " columns");
    }
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (i > 0) sheet_.text += '\t';
      AddCell(cells[i].text, columns_[i]);
    }
    sheet_.text += '\n';
  }

  void AddCell(std::string_view cell, const SheetColumn& column) {
    const std::size_t begin = sheet_.text.size();
    if (cell.find_first_of("\t\n") == std::string_view::npos) {
      sheet_.text += cell;
    } else {
      for (std::size_t i = 0; i < cell.size(); ++i) {
        const bool line_break = cell[i] == '\n' || cell[i] == '\t';
        if (cell.substr(i).starts_with("\r\n")) continue;
        sheet_.text += line_break ? ' ' : cell[i];
      }
      flattened_.Add(sheet_.rows, column.name);
    }
    const std::string_view added = std::string_view(sheet_.text).substr(begin);
    if (added.size() > column.width && CountCharacters(added) > column.width) {
      cut_.Add(sheet_.rows, column.name + " (to " + std::to_string(column.width) + " characters)");
    }
  }

  const FileText& file_;
  std::span<const SheetColumn> columns_;
  DecodedText decoded_;
  SheetText sheet_;
  NamedCells cut_{"cells that are too long were cut"};
  NamedCells flattened_{"line breaks and tabs inside cells became blanks"};
};

}  // namespace

SheetForm SheetFormOf(const std::string& path) {
  return FoldCase(path).ends_with(".csv") ? SheetForm::kCsv : SheetForm::kTabs;
}

SheetText ReadSheet(const FileText& file, SheetForm form, bool heading,
                    std::span<const SheetColumn> columns) {
  return SheetReader(file, columns).Read(form, heading);
}

}  // namespace mox
