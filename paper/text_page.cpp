#include "paper/text_page.h"

#include <algorithm>
#include <span>

#include "mox/foundation/text.h"

namespace mox {
namespace {

constexpr std::size_t kWidth = 100;
constexpr std::size_t kGap = 2;
constexpr std::size_t kLeastText = 8;

using Cells = std::vector<std::string>;

std::string Spaces(std::size_t count) { return std::string(count, ' '); }

void AppendLine(std::string line, std::string& out) {
  line.erase(line.find_last_not_of(' ') + 1);
  out += line + "\n";
}

std::string Padded(const std::string& text, std::size_t width, bool left) {
  const std::size_t size = CountCharacters(text);
  const std::string fill = Spaces(width > size ? width - size : 0);
  return left ? text + fill : fill + text;
}

// Parts of at most so many characters, broken at blanks where that is possible.
Cells Wrapped(std::string_view text, std::size_t width) {
  Cells lines;
  while (CountCharacters(text) > width) {
    std::string_view line = CutToCharacters(text, width + 1);
    const std::size_t blank = line.rfind(' ');
    line =
        blank == std::string_view::npos || blank == 0 ? CutToCharacters(text, width) : line.substr(0, blank);
    lines.emplace_back(line);
    text.remove_prefix(line.size());
    text = TrimBlanks(text);
  }
  lines.emplace_back(text);
  return lines;
}

void AppendWrapped(std::string_view text, std::string& out) {
  while (true) {
    const std::size_t end = std::min(text.find('\n'), text.size());
    for (const std::string& line : Wrapped(text.substr(0, end), kWidth)) AppendLine(line, out);
    if (end == text.size()) return;
    text.remove_prefix(end + 1);
  }
}

// Columns of cells: texts to the left and wrapped where there is too little room, numbers to the right.
class TextGrid {
 public:
  void AddColumn(bool is_text) { columns_.push_back({is_text, 0}); }
  void AddRow(Cells cells) { rows_.push_back(std::move(cells)); }
  void AddRule() { rows_.emplace_back(); }

  void Append(std::string& out) {
    Measure();
    for (const Cells& row : rows_) {
      if (row.empty()) {
        std::string line;
        for (const Column& column : columns_) line += std::string(column.width, '-') + Spaces(kGap);
        AppendLine(line, out);
      } else {
        AppendRow(row, out);
      }
    }
  }

 private:
  struct Column {
    bool is_text;
    std::size_t width;
  };

  void Measure() {
    std::size_t total = 0;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      for (const Cells& row : rows_) {
        if (row.empty()) continue;
        columns_[i].width = std::max(columns_[i].width, CountCharacters(row[i]));
      }
      total += columns_[i].width + kGap;
    }
    while (total > kWidth + kGap) {
      const auto widest =
          std::max_element(columns_.begin(), columns_.end(), [](const Column& a, const Column& b) {
            return a.is_text != b.is_text ? !a.is_text : a.width < b.width;
          });
      if (!widest->is_text || widest->width <= kLeastText) return;
      const std::size_t less = std::min(total - kWidth - kGap, widest->width - kLeastText);
      widest->width -= less;
      total -= less;
    }
  }

  void AppendRow(const Cells& row, std::string& out) const {
    std::vector<Cells> cells;
    std::size_t height = 1;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
      cells.push_back(columns_[i].is_text ? Wrapped(row[i], columns_[i].width) : Cells{row[i]});
      height = std::max(height, cells.back().size());
    }
    for (std::size_t part = 0; part < height; ++part) {
      std::string line;
      for (std::size_t i = 0; i < columns_.size(); ++i) {
        line += Padded(part < cells[i].size() ? cells[i][part] : "", columns_[i].width, columns_[i].is_text);
        line += Spaces(kGap);
      }
      AppendLine(line, out);
    }
  }

  std::vector<Column> columns_;
  std::vector<Cells> rows_;
};

void AppendFacts(std::span<const PageFact> facts, std::string& out) {
  std::size_t width = 0;
  for (const PageFact& fact : facts) width = std::max(width, CountCharacters(fact.label) + 1);
  for (const PageFact& fact : facts) {
    AppendLine(Padded(fact.label + ":", width, true) + "  " + fact.text, out);
  }
}

// A heading of several words is split, so that a column of numbers is as wide as they are.
void AddHeadings(const PageTable& table, TextGrid& grid) {
  std::vector<Cells> headings;
  std::size_t height = 1;
  for (const PageTable::Column& column : table.columns) {
    if (column.column->IsPicture()) continue;
    grid.AddColumn(column.column->IsText());
    const std::size_t width = column.column->IsText() ? kWidth : std::size_t{10};
    headings.push_back(Wrapped(column.heading, width));
    height = std::max(height, headings.back().size());
  }
  for (std::size_t part = 0; part < height; ++part) {
    Cells cells;
    for (const Cells& heading : headings) cells.push_back(part < heading.size() ? heading[part] : "");
    grid.AddRow(std::move(cells));
  }
  grid.AddRule();
}

// Texts have no pictures.
Cells WithoutPictures(const PageTable& table, Cells cells) {
  for (std::size_t i = table.columns.size(); i-- > 0;) {
    if (table.columns[i].column->IsPicture()) cells.erase(cells.begin() + static_cast<std::ptrdiff_t>(i));
  }
  return cells;
}

void AppendTable(const PageTable& table, const LocaleSettings& locale, std::string& out) {
  TextGrid grid;
  AddHeadings(table, grid);
  for (const PageTable::Row& row : table.rows) grid.AddRow(WithoutPictures(table, row.cells));
  if (!table.sums.empty()) {
    grid.AddRule();
    Cells sums = table.SumCells(table.sums, locale);
    for (std::size_t i = 0; i < sums.size(); ++i) {
      if (table.columns[i].column->name == "naziv") sums[i] = "Ukupno";
    }
    grid.AddRow(WithoutPictures(table, std::move(sums)));
  }
  out += "\n";
  if (!table.heading.empty()) out += table.heading + "\n\n";
  grid.Append(out);
}

void AppendTaxes(const DocumentPage& page, std::string& out) {
  if (page.taxes.empty()) return;
  TextGrid grid;
  grid.AddColumn(true);
  for (int i = 0; i < 3; ++i) grid.AddColumn(false);
  grid.AddRow({"PDV", "Osnovica", "Iznos PDV-a", "Ukupno"});
  grid.AddRule();
  for (const PageTaxRow& row : page.taxes) grid.AddRow({row.rate, row.base, row.tax, row.total});
  out += "\n";
  grid.Append(out);
}

void AppendSums(const DocumentPage& page, std::string& out) {
  if (page.sums.empty()) return;
  TextGrid grid;
  grid.AddColumn(true);
  grid.AddColumn(false);
  if (!page.discount.empty()) grid.AddRow({"Odobreni popust " + page.currency, page.discount});
  for (const PageSum& sum : page.sums) grid.AddRow({sum.label + " " + page.currency, sum.amount});
  out += "\n";
  grid.Append(out);
  if (!page.words.empty()) AppendWrapped("Slovima: " + page.words, out);
}

}  // namespace

std::string TextPage(const DocumentPage& page, const LocaleSettings& locale) {
  std::string out;
  AppendWrapped(page.seller.name, out);
  for (const std::string& line : page.seller.lines) AppendWrapped(line, out);
  out += "\n";
  AppendWrapped(page.title + " " + page.number, out);
  out += "\n";
  AppendFacts(page.facts, out);
  if (!page.partner.name.empty()) {
    out += "\n" + page.partner.heading + "\n";
    AppendWrapped(page.partner.name, out);
    for (const std::string& line : page.partner.lines) AppendWrapped(line, out);
  }
  for (const PageTable& table : page.tables) AppendTable(table, locale, out);
  AppendTaxes(page, out);
  AppendSums(page, out);
  if (!page.payment.empty()) out += "\n";
  AppendFacts(page.payment, out);
  if (!page.fiscal.empty()) out += "\n";
  AppendFacts(page.fiscal, out);
  if (!page.notes.empty()) out += "\n";
  for (const std::string& note : page.notes) AppendWrapped(note, out);
  if (!page.footer.empty()) {
    out += "\n";
    AppendWrapped(page.footer, out);
  }
  return out;
}

}  // namespace mox
