#include "sheets/sheet_layout.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>

#include "mox/foundation/dates.h"
#include "mox/foundation/error.h"
#include "mox/foundation/locale_text.h"
#include "mox/foundation/text.h"

namespace mox {
namespace {

using Meaning = Heading::Meaning;

constexpr std::size_t kMostNamed = 20;    // cells or columns of one remark
constexpr std::size_t kRowsToJudge = 20;  // by which a heading is recognised
constexpr std::size_t kMostText = 1024UL * 1024 * 1024;
constexpr std::size_t kNowhere = static_cast<std::size_t>(-1);

constexpr const char* kHeadingAgain = "is the heading once more";
constexpr const char* kSeveralLines = "has a line break or a tab: use one line";

// Things of the sheet that something happened to, of which the first are named.
class Named {
 public:
  Named(std::string what, std::string separator) : what_(std::move(what)), separator_(std::move(separator)) {}
  void Add(const std::string& name) {
    if (++count_ <= kMostNamed) names_ += (names_.empty() ? "" : separator_) + name;
  }
  void AppendTo(std::vector<std::string>& remarks) const {
    if (count_ == 0) return;
    const std::string rest =
        count_ > kMostNamed ? " and " + std::to_string(count_ - kMostNamed) + " more" : "";
    remarks.push_back("warning: " + what_ + ": " + names_ + rest);
  }

 private:
  std::string what_;
  std::string separator_;
  std::string names_;
  std::size_t count_ = 0;
};

// A row that outlives the next one.
struct HeldRow {
  std::size_t number = 0;
  std::vector<std::string> texts;
  std::vector<SheetCell> cells;  // over the texts

  explicit HeldRow(const SheetRow& row) : number(row.number), cells(row.cells.begin(), row.cells.end()) {
    texts.reserve(cells.size());
    for (SheetCell& cell : cells) cell.text = texts.emplace_back(cell.text);
  }
};

class Layout {
 public:
  Layout(SheetRows& rows, std::span<const SheetColumn> columns, const LayoutOptions& options)
      : rows_(rows), columns_(columns), options_(options) {}

  SheetText Run() {
    std::vector<HeldRow> first;
    SheetRow row;
    while (first.size() < kRowsToJudge && rows_.Next(row)) first.emplace_back(row);
    const std::size_t data = TakeHeading(first);
    for (std::size_t i = data; i < first.size(); ++i) AddRow({first[i].number, first[i].cells});
    while (rows_.Next(row)) AddRow(row);
    std::vector<std::string> remarks = rows_.Remarks();
    std::move(sheet_.remarks.begin(), sheet_.remarks.end(), std::back_inserter(remarks));
    sheet_.remarks = std::move(remarks);
    return std::move(sheet_);
  }

 private:
  [[noreturn]] void Fail(const std::string& what) const { throw Error(rows_.Label() + ": " + what); }

  // --- the heading ---

  // Answers where the data begin.
  std::size_t TakeHeading(const std::vector<HeldRow>& first) {
    if (options_.heading == HeadingMode::kAbsent || first.empty()) return 0;
    const HeadingReader reader(columns_, options_.map);
    const std::optional<std::size_t> found = Find(reader, first);
    if (!found) return 0;
    const std::size_t at = *found;
    if (at > 0) {
      sheet_.remarks.push_back(rows_.Label() + ": what stands above the heading in row " +
                               std::to_string(first[at].number) + " is left out");
    }
    heading_number_ = first[at].number;
    SetHeading(reader.Read(first[at].texts));
    return at + 1;
  }

  std::optional<std::size_t> Find(const HeadingReader& reader, const std::vector<HeldRow>& first) const {
    std::vector<std::vector<std::string>> texts;
    for (const HeldRow& row : first) texts.push_back(row.texts);
    if (options_.heading == HeadingMode::kPresent) return reader.FindAnnounced(texts);
    try {
      return reader.Find(texts);
    } catch (const UnclearHeading& error) {
      throw UnclearHeading(rows_.Label() + ": " + error.what());
    }
  }

  void SetHeading(Heading heading) {
    heading_ = std::move(heading);
    if (heading_.HasTwoOfAColumn()) Fail("the heading has a column twice: " + NamesOfTwice());
    for (const Heading::Cell& cell : heading_.cells) {
      if (cell.meaning == Meaning::kNone) continue;
      sheet_.map.push_back({cell.text, cell.meaning == Meaning::kColumn ? columns_[cell.column].name : ""});
    }
    sheet_.has_unknown_heading = heading_.Count(Meaning::kUnknown) > 0;
    if (heading_.Count(Meaning::kColumn) == 0) {
      sheet_.remarks.push_back(
          "warning: none of the headings is known; the cells are taken in the order of the columns");
      return;
    }
    order_.assign(columns_.size(), kNowhere);
    Named unknown("these headings are unknown, and what stands below is left out", ", ");
    for (std::size_t i = 0; i < heading_.cells.size(); ++i) {
      const Heading::Cell& cell = heading_.cells[i];
      if (cell.meaning == Meaning::kColumn) order_[cell.column] = i;
      if (cell.meaning == Meaning::kUnknown) unknown.Add("\"" + cell.text + "\"");
    }
    unknown.AppendTo(sheet_.remarks);
    Named missing("the sheet has no column for", ", ");
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (order_[i] == kNowhere) missing.Add(columns_[i].name + (columns_[i].required ? " (required)" : ""));
    }
    missing.AppendTo(sheet_.remarks);
  }

  std::string NamesOfTwice() const {
    std::vector<std::size_t> seen(columns_.size(), 0);
    std::string names;
    for (const Heading::Cell& cell : heading_.cells) {
      if (cell.meaning == Meaning::kColumn && ++seen[cell.column] == 2) {
        names += (names.empty() ? "" : ", ") + columns_[cell.column].name;
      }
    }
    return names;
  }

  bool IsHeadingAgain(std::span<const SheetCell> cells) const {
    for (std::size_t i = 0; i < heading_.cells.size(); ++i) {
      const Heading::Cell& cell = heading_.cells[i];
      if (cell.meaning != Meaning::kColumn) continue;
      if (i >= cells.size() || TrimBlanks(cells[i].text) != cell.text) return false;
    }
    return true;
  }

  // --- rows ---

  void AddRow(const SheetRow& row) {
    number_ = row.number - heading_number_;
    sheet_.numbers.push_back(number_);
    if (order_.empty()) {
      AddInOrder(row.cells);
    } else {
      AddByHeading(row.cells);
    }
    sheet_.text += '\n';
    if (sheet_.text.size() > kMostText) Fail("the sheet holds more text than can be imported at once");
  }

  void AddInOrder(std::span<const SheetCell> cells) {
    while (cells.size() > columns_.size() && cells.back().text.empty()) cells = cells.first(cells.size() - 1);
    if (cells.size() > columns_.size()) {
      Fail("row " + std::to_string(number_) + " has " + std::to_string(cells.size()) +
           " cells, and there are " + std::to_string(columns_.size()) + " columns");
    }
    for (std::size_t i = 0; i < cells.size(); ++i) {
      if (i > 0) sheet_.text += '\t';
      AddCell(cells[i], i);
    }
  }

  void AddByHeading(std::span<const SheetCell> cells) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      const bool nameless = i >= heading_.cells.size() || heading_.cells[i].meaning == Meaning::kNone;
      if (nameless && !cells[i].text.empty()) {
        Fail("row " + std::to_string(number_) + " has a filled cell in column " + std::to_string(i + 1) +
             ", which has no heading");
      }
    }
    const bool heading_again = IsHeadingAgain(cells);
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      if (i > 0) sheet_.text += '\t';
      if (order_[i] >= cells.size()) continue;
      AddCell(cells[order_[i]], i);
      if (heading_again) AddFault(i, cells[order_[i]].text, kHeadingAgain);
    }
  }

  void AddFault(std::size_t column, std::string_view value, std::string_view reason) {
    const std::size_t row = sheet_.numbers.size() - 1;
    if (!sheet_.faults.empty() && sheet_.faults.back().row == row && sheet_.faults.back().column == column) {
      sheet_.faults.back().reason.append("; ").append(reason);
    } else {
      sheet_.faults.push_back({row, column, std::string(value), std::string(reason)});
    }
  }

  void AddCell(const SheetCell& cell, std::size_t column) {
    const std::size_t begin = sheet_.text.size();
    bool on_one_line = true;
    if (cell.kind == CellKind::kText) {
      on_one_line = AppendOnOneLine(cell.text);
    } else {
      AppendInLocale(cell);
    }
    const std::string_view added = std::string_view(sheet_.text).substr(begin);
    if (!cell.fault.empty()) AddFault(column, added, cell.fault);
    if (!on_one_line) AddFault(column, added, kSeveralLines);
    const std::size_t width = columns_[column].width;
    if (added.size() > width && CountCharacters(added) > width) {
      AddFault(column, added, "is longer than " + std::to_string(width) + " characters");
    }
  }

  // False where it stood on several, or had a tab.
  bool AppendOnOneLine(std::string_view text) {
    if (text.find_first_of("\t\n\r") == std::string_view::npos) {
      sheet_.text += text;
      return true;
    }
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text.substr(i).starts_with("\r\n")) continue;
      sheet_.text += text[i] == '\n' || text[i] == '\t' || text[i] == '\r' ? ' ' : text[i];
    }
    return false;
  }

  // What a spreadsheet knows the kind of, as the grid will read it.
  void AppendInLocale(const SheetCell& cell) {
    if (cell.kind == CellKind::kBoolean) {
      sheet_.text += cell.text == "true" ? "True" : "False";
    } else if (cell.kind == CellKind::kNumber) {
      const std::size_t point = cell.text.find('.');
      sheet_.text += cell.text.substr(0, point);
      if (point != std::string_view::npos) {
        sheet_.text += options_.locale.decimal_separator;
        sheet_.text += cell.text.substr(point + 1);
      }
    } else if (const auto moment = ParseIsoDateTime(cell.text)) {
      sheet_.text += DateTimeToText(*moment, options_.locale);
    }
  }

  SheetRows& rows_;
  std::span<const SheetColumn> columns_;
  const LayoutOptions& options_;
  SheetText sheet_;
  Heading heading_;
  std::vector<std::size_t> order_;  // for each column its cell; none where cells are taken as they come
  std::size_t heading_number_ = 0;
  std::size_t number_ = 0;  // of the row that is added
};

}  // namespace

SheetText LayOutSheet(SheetRows& rows, std::span<const SheetColumn> columns, const LayoutOptions& options) {
  return Layout(rows, columns, options).Run();
}

}  // namespace mox
