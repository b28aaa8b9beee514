#include "sheets/text_rows.h"

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "sheets/csv_scanner.h"

namespace mox {
namespace {

DecodedText Decode(const SheetFile& file, TextEncoding encoding) {
  try {
    return DecodeText(file.bytes, encoding);
  } catch (const Error& error) {
    throw Error(file.label + ":" + error.what());
  }
}

class TextRows : public SheetRows {
 public:
  TextRows(const SheetFile& file, TextEncoding encoding)
      : SheetRows(file.label), decoded_(Decode(file, encoding)) {}
  std::vector<std::string> Remarks() const override {
    if (decoded_.encoding == "UTF-8") return {};
    return {Label() + " is read as " + std::string(decoded_.encoding)};
  }

 protected:
  std::string_view text() const { return decoded_.text; }

  SheetRow Row() { return {++rows_, cells_}; }
  std::vector<SheetCell>& Cells() { return cells_; }

 private:
  DecodedText decoded_;
  std::vector<SheetCell> cells_;
  std::size_t rows_ = 0;
};

class TabRows : public TextRows {
 public:
  TabRows(const SheetFile& file, TextEncoding encoding) : TextRows(file, encoding), rest_(text()) {}

  bool Next(SheetRow& row) override {
    if (rest_.empty()) return false;
    std::string_view line = TakeLine();
    Cells().clear();
    for (;;) {
      const std::size_t tab = line.find('\t');
      Cells().push_back({line.substr(0, tab)});
      if (tab == std::string_view::npos) break;
      line.remove_prefix(tab + 1);
    }
    row = Row();
    return true;
  }

 private:
  std::string_view TakeLine() {
    const std::size_t end = rest_.find('\n');
    std::string_view line = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    if (line.ends_with('\r')) line.remove_suffix(1);
    return line;
  }

  std::string_view rest_;
};

std::size_t CellsOfFirstRow(std::string_view text, char separator) {
  std::vector<CsvCell> cells;
  try {
    CsvScanner(text, separator).Next(cells);
  } catch (const CsvFault&) {
    return 0;
  }
  return cells.size();
}

// Decimal commas make commas the weakest sign.
char SeparatorOf(std::string_view text, std::size_t columns) {
  char best = ',';
  std::size_t most = 1;
  for (const char separator : {';', '\t', ','}) {
    const std::size_t cells = CellsOfFirstRow(text, separator);
    if (cells > 1 && cells == columns) return separator;
    if (cells <= most) continue;
    most = cells;
    best = separator;
  }
  return best;
}

class CsvRows : public TextRows {
 public:
  CsvRows(const SheetFile& file, TextEncoding encoding, std::size_t columns)
      : TextRows(file, encoding), scanner_(Scanner(columns)) {}

  bool Next(SheetRow& row) override {
    try {
      if (!scanner_.Next(csv_cells_)) return false;
    } catch (const CsvFault& fault) {
      throw Error(Label() + ":" + std::to_string(scanner_.line() + lines_before_) + ": cell " +
                  std::to_string(fault.cell + 1) + ": " + fault.reason);
    }
    Cells().clear();
    for (const CsvCell& cell : csv_cells_) Cells().push_back({cell.text});
    row = Row();
    return true;
  }

 private:
  // The line `sep=;` is how spreadsheets tell each other.
  CsvScanner Scanner(std::size_t columns) {
    constexpr std::string_view kMark = "sep=";
    std::string_view text = this->text();
    const std::size_t end = text.find('\n');
    if (end == std::string_view::npos || end <= kMark.size() ||
        !SameName(text.substr(0, kMark.size()), kMark) ||
        TrimBlanks(text.substr(kMark.size() + 1, end - kMark.size() - 1)) != "") {
      return CsvScanner(text, SeparatorOf(text, columns));
    }
    lines_before_ = 1;
    return CsvScanner(text.substr(end + 1), text[kMark.size()]);
  }

  std::size_t lines_before_ = 0;
  CsvScanner scanner_;
  std::vector<CsvCell> csv_cells_;
};

}  // namespace

TextForm TextFormOf(const std::string& path) {
  return FoldCase(path).ends_with(".csv") ? TextForm::kCsv : TextForm::kTabs;
}

std::unique_ptr<SheetRows> OpenTextRows(const SheetFile& file, TextForm form, std::size_t columns,
                                        TextEncoding encoding) {
  if (form == TextForm::kTabs) return std::make_unique<TabRows>(file, encoding);
  return std::make_unique<CsvRows>(file, encoding, columns);
}

}  // namespace mox
