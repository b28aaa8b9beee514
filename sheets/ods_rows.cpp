#include "sheets/ods_rows.h"

#include <algorithm>
#include <charconv>
#include <set>

#include "mox/foundation/text.h"
#include "sheets/merged_values.h"

namespace mox {
namespace {

using Token = XmlScanner::Token;

constexpr std::size_t kMostCells = 200'000'000;  // of all rows; a few bytes may repeat them
constexpr std::size_t kMostBlanks = 32'767;      // as many characters as a cell has

// A sheet is a table right inside the spreadsheet; others stand in its cells and links.
bool IsSheet(const XmlScanner& xml, Token token) {
  constexpr std::size_t kDepth = 4;
  return token == Token::kStart && xml.Depth() == kDepth && xml.Name() == "table";
}

// A count that an attribute gives; 1 where there is none.
std::size_t Times(const XmlScanner& xml, std::string_view attribute) {
  const std::string_view text = xml.RawAttribute(attribute);
  if (text.empty()) return 1;
  std::size_t times = 0;
  const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), times);
  if (error != std::errc() || last != text.data() + text.size() || times == 0) xml.Fail("a count is wrong");
  return std::min(times, 2 * kMostSheetRows);
}

// Blanks in a row count as one, and none at the beginning.
void AppendCollapsed(std::string_view part, std::size_t begin, std::string& text) {
  for (const char c : part) {
    if (c != ' ' && c != '\t' && c != '\n' && c != '\r') {
      text += c;
    } else if (text.size() > begin && text.back() != ' ') {
      text += ' ';
    }
  }
}

// One paragraph of a cell.
void AppendParagraph(XmlScanner& xml, std::string& text) {
  const std::size_t begin = text.size();
  const std::size_t depth = xml.Depth();
  std::string part;
  while (xml.Depth() >= depth) {
    const Token token = xml.Next();
    if (token == Token::kText) {
      part.clear();
      xml.AppendTextTo(part);
      AppendCollapsed(part, begin, text);
    }
    if (token != Token::kStart) continue;
    if (xml.Name() == "s") {
      const std::size_t blanks = Times(xml, "text:c");
      if (blanks > kMostBlanks) xml.Fail("a text is too long");
      text.append(blanks, ' ');
    } else if (xml.Name() == "tab") {
      text += '\t';
    } else if (xml.Name() == "line-break") {
      text += '\n';
    } else if (xml.Name() == "annotation" || xml.Name() == "note") {
      xml.SkipElement();
    }
  }
}

}  // namespace

std::vector<OdsSheet> ReadOdsSheets(ByteSource& content, const XmlScanner::Fault& fault) {
  std::vector<OdsSheet> sheets;
  std::set<std::string> hidden;
  std::string style;
  XmlScanner xml(content, fault);
  for (Token token = xml.Next(); token != Token::kDone; token = xml.Next()) {
    if (token != Token::kStart) continue;
    if (xml.Name() == "style") style = xml.Attribute("style:name");
    if (xml.RawAttribute("table:display") == "false") hidden.insert(style);
    if (!IsSheet(xml, token)) continue;
    sheets.push_back({xml.Attribute("table:name"), hidden.contains(xml.Attribute("table:style-name"))});
    xml.SkipElement();
  }
  return sheets;
}

class OdsRows::Reader {
 public:
  Reader(std::unique_ptr<ByteSource> content, std::size_t sheet, XmlScanner::Fault fault)
      : content_(std::move(content)), xml_(*content_, std::move(fault)) {
    for (Token token = xml_.Next(); token != Token::kDone; token = xml_.Next()) {
      if (!IsSheet(xml_, token)) continue;
      if (sheet-- == 0) {
        table_depth_ = xml_.Depth();
        return;
      }
      xml_.SkipElement();
    }
  }

  bool Next(SheetRow& row) {
    if (repetitions_ > 0) return Repeat(row);
    while (table_depth_ > 0) {
      const Token token = xml_.Next();
      if (token == Token::kEnd && xml_.Depth() < table_depth_) {
        table_depth_ = 0;
        while (xml_.Next() != Token::kDone) {
        }
      } else if (token == Token::kStart && xml_.Name() == "table-row") {
        ReadRow();
        if (!row_.HasNoText()) return Repeat(row);
        number_ += repetitions_;
        repetitions_ = 0;
      } else if (token == Token::kStart && !IsGroup(xml_.Name())) {
        xml_.SkipElement();
      }
    }
    return false;
  }

  std::vector<std::string> Remarks() const { return merged_.Remarks(); }

 private:
  static bool IsGroup(std::string_view name) {
    return name == "table-row-group" || name == "table-header-rows" || name == "table-rows";
  }

  bool Repeat(SheetRow& row) {
    --repetitions_;
    if (++number_ > kMostSheetRows) xml_.Fail("there are more rows than a sheet has");
    row = {number_, row_.Cells()};
    cells_ += row.cells.size();
    if (cells_ > kMostCells) xml_.Fail("the cells are repeated too often");
    return true;
  }

  void ReadRow() {
    repetitions_ = Times(xml_, "table:number-rows-repeated");
    row_.Clear();
    std::size_t column = 0;
    const std::size_t depth = xml_.Depth();
    while (xml_.Depth() >= depth) {
      if (xml_.Next() != Token::kStart) continue;
      const bool covered = xml_.Name() == "covered-table-cell";
      if (!covered && xml_.Name() != "table-cell") {
        xml_.SkipElement();
        continue;
      }
      const std::size_t times = Times(xml_, "table:number-columns-repeated");
      if (covered) {
        xml_.SkipElement();
      } else {
        ReadCell(column, times);
      }
      column += times;
    }
    merged_.FillInto(row_, number_ + 1);
  }

  // Cells that are empty are not added, but come to stand before the next one that is filled.
  void ReadCell(std::size_t column, std::size_t times) {
    type_ = xml_.RawAttribute("office:value-type");
    const bool is_error = xml_.RawAttribute("calcext:value-type") == "error";
    const bool is_formula = !xml_.RawAttribute("table:formula").empty();
    value_ = xml_.Attribute(ValueAttribute());
    const std::size_t rows = Times(xml_, "table:number-rows-spanned");
    paragraphs_.clear();
    ReadParagraphs();
    const bool is_empty = type_.empty() && paragraphs_.empty();
    if (is_empty && !is_formula) return;
    if (column + times > kMostSheetColumns) xml_.Fail("there are more columns than a sheet has");
    if (column > row_.Size()) row_.PadTo(column);
    CellForm form;
    if (is_empty) {
      row_.Text() += "#N/A";
      form.fault = kNotCalculatedFault;
    } else {
      form = AppendValue();
      if (is_error) form.fault = kErrorFault;
    }
    row_.EndCell(form);
    if (times > 1) row_.Repeat(column, times - 1);
    if (rows > 1 && !row_.IsEmpty(column)) {
      const MergedCells cells{number_ + 1, number_ + rows, column};
      if (!merged_.Start(cells, row_.Cells()[column])) xml_.Fail("too many cells are merged");
    }
  }

  std::string_view ValueAttribute() const {
    if (type_ == "date") return "office:date-value";
    if (type_ == "time") return "office:time-value";
    if (type_ == "boolean") return "office:boolean-value";
    return type_ == "string" ? "office:string-value" : "office:value";
  }

  void ReadParagraphs() {
    const std::size_t depth = xml_.Depth();
    bool first = true;
    while (xml_.Depth() >= depth) {
      if (xml_.Next() != Token::kStart) continue;
      if (xml_.Name() != "p" && xml_.Name() != "h") {
        xml_.SkipElement();
        continue;
      }
      if (!first) paragraphs_ += '\n';
      first = false;
      AppendParagraph(xml_, paragraphs_);
    }
  }

  CellForm AppendValue() {
    std::string& text = row_.Text();
    if (type_ == "date" || type_ == "time") return AppendIsoMoment(value_, text);
    if (type_ == "boolean") {
      text += value_ == "true" ? "true" : "false";
      return {CellKind::kBoolean};
    }
    if (type_ == "percentage")
      return AppendNumber(value_, {NumberFormat::Shows::kPercent}, DateEpoch::k1900, text);
    if (type_ == "float" || type_ == "currency") {
      // Zeros in front are a matter of the format; then the shown text has them.
      const bool padded = paragraphs_.starts_with('0') && IsDigits(paragraphs_);
      const auto digits =
          static_cast<std::uint8_t>(padded ? std::min<std::size_t>(paragraphs_.size(), 40) : 0);
      return AppendNumber(value_, {NumberFormat::Shows::kNumber, digits}, DateEpoch::k1900, text);
    }
    const std::string& shown = value_.empty() ? paragraphs_ : value_;
    text += shown;
    return FormOfText(shown);
  }

  static bool IsDigits(std::string_view text) {
    return text.size() > 1 && text.find_first_not_of("0123456789") == std::string_view::npos;
  }

  std::unique_ptr<ByteSource> content_;
  XmlScanner xml_;
  std::size_t table_depth_ = 0;  // 0 where the sheet has ended
  std::size_t number_ = 0;
  std::size_t repetitions_ = 0;  // of the row that was read
  std::size_t cells_ = 0;
  RowBuilder row_;
  MergedValues merged_;
  std::string type_;
  std::string value_;
  std::string paragraphs_;
};

OdsRows::OdsRows(std::string label, std::unique_ptr<ByteSource> content, std::size_t sheet,
                 XmlScanner::Fault fault)
    : SheetRows(std::move(label)),
      reader_(std::make_unique<Reader>(std::move(content), sheet, std::move(fault))) {}

OdsRows::~OdsRows() = default;

bool OdsRows::Next(SheetRow& row) { return reader_->Next(row); }

std::vector<std::string> OdsRows::Remarks() const { return reader_->Remarks(); }

}  // namespace mox
