#include "sheets/xlsx_rows.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "mox/foundation/text.h"
#include "sheets/row_builder.h"

namespace mox {
namespace {

using Token = XmlScanner::Token;

std::optional<std::size_t> ReadCount(std::string_view text) {
  std::size_t count = 0;
  const auto [last, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error != std::errc() || last != text.data() + text.size()) return std::nullopt;
  return count;
}

// Calls `child` at the start of each element inside the current one, and passes over what it leaves.
template <typename Child>
void ForEachChild(XmlScanner& xml, Child child) {
  const std::size_t depth = xml.Depth();
  while (xml.Depth() >= depth) {
    if (xml.Next() != Token::kStart) continue;
    const std::size_t inside = xml.Depth();
    child(xml.Name());
    while (xml.Depth() >= inside) xml.Next();
  }
}

// Adds the text of the current element and goes to its end.
void AppendElementText(XmlScanner& xml, std::string& text) {
  const std::size_t depth = xml.Depth();
  while (xml.Depth() >= depth) {
    if (xml.Next() == Token::kText) xml.AppendTextTo(text);
  }
}

// Characters that XML cannot hold are written _x000D_, and such a text itself with its bar as _x005F_.
void ReplaceEscapes(std::string& text, std::size_t begin) {
  constexpr std::size_t kLength = 7;
  std::size_t at = text.find("_x", begin);
  if (at == std::string::npos) return;
  std::string replaced;
  std::size_t copied = begin;
  for (; at != std::string::npos; at = text.find("_x", at)) {
    std::uint32_t code = 0;
    const char* const digits = text.data() + at + 2;
    const bool complete = at + kLength <= text.size() && text[at + kLength - 1] == '_' &&
                          std::from_chars(digits, digits + 4, code, 16).ptr == digits + 4;
    if (!complete || code == 0 || (code >= 0xD800 && code <= 0xDFFF)) {
      at += 2;
      continue;
    }
    replaced.append(text, copied, at - copied);
    AppendUtf8(replaced, code);
    at += kLength;
    copied = at;
  }
  replaced.append(text, copied);
  text.replace(begin, std::string::npos, replaced);
}

// A text with runs of different looks, of a shared string or within a cell.
void AppendRichText(XmlScanner& xml, std::string& text) {
  const std::size_t begin = text.size();
  ForEachChild(xml, [&](std::string_view name) {
    if (name == "t") {
      AppendElementText(xml, text);
    } else if (name == "r") {
      ForEachChild(xml, [&](std::string_view part) {
        if (part == "t") AppendElementText(xml, text);
      });
    }
  });
  ReplaceEscapes(text, begin);
}

}  // namespace

bool ReadPlace(std::string_view place, std::size_t& column, std::size_t& row) {
  std::size_t number = 0;
  std::size_t at = 0;
  for (; at < place.size() && place[at] >= 'A' && place[at] <= 'Z'; ++at) {
    number = number * 26 + static_cast<std::size_t>(place[at] - 'A') + 1;
    if (number > kMostSheetColumns) return false;
  }
  if (number == 0) return false;
  column = number - 1;
  if (at == place.size()) return true;
  const auto read = ReadCount(place.substr(at));
  if (!read || *read == 0 || *read > kMostSheetRows) return false;
  row = *read;
  return true;
}

SharedStrings::SharedStrings(ByteSource& source, const XmlScanner::Fault& fault) {
  XmlScanner xml(source, fault);
  if (xml.Next() != Token::kStart) xml.Fail("there are no shared texts");
  ForEachChild(xml, [&](std::string_view name) {
    if (name != "si") return;
    AppendRichText(xml, text_);
    ends_.push_back(text_.size());
  });
  xml.Next();
}

std::string_view SharedStrings::operator[](std::size_t index) const {
  const std::size_t begin = index == 0 ? 0 : ends_[index - 1];
  return std::string_view(text_).substr(begin, ends_[index] - begin);
}

std::vector<MergedCells> ReadMergedCells(ByteSource& source, const XmlScanner::Fault& fault) {
  std::vector<MergedCells> merged;
  XmlScanner xml(source, fault);
  for (Token token = xml.Next(); token != Token::kDone; token = xml.Next()) {
    if (token != Token::kStart || xml.Name() != "mergeCell") continue;
    const std::string_view range = xml.RawAttribute("ref");
    const std::size_t colon = range.find(':');
    MergedCells cells;
    std::size_t last_column = 0;
    if (colon == std::string_view::npos ||
        !ReadPlace(range.substr(0, colon), cells.column, cells.first_row) ||
        !ReadPlace(range.substr(colon + 1), last_column, cells.last_row)) {
      xml.Fail("merged cells have no place");
    }
    if (cells.last_row > cells.first_row) merged.push_back(cells);
  }
  std::sort(merged.begin(), merged.end(),
            [](const MergedCells& a, const MergedCells& b) { return a.first_row < b.first_row; });
  return merged;
}

class XlsxRows::Reader {
 public:
  Reader(std::unique_ptr<ByteSource> source, Parts parts, XmlScanner::Fault fault)
      : parts_(std::move(parts)), source_(std::move(source)), xml_(*source_, std::move(fault)) {
    FindData();
  }

  bool Next(SheetRow& row) {
    while (in_data_) {
      const Token token = xml_.Next();
      if (token == Token::kEnd) {
        in_data_ = false;
        while (xml_.Next() != Token::kDone) {
        }
      }
      if (token != Token::kStart || xml_.Name() != "row") {
        if (token == Token::kStart) xml_.SkipElement();
        continue;
      }
      ReadRow();
      StartMerged();
      merged_.FillInto(row_, number_);
      if (row_.HasNoText()) continue;
      row = {number_, row_.Cells()};
      return true;
    }
    return false;
  }

  std::vector<std::string> Remarks() const { return merged_.Remarks(); }

 private:
  void FindData() {
    if (xml_.Next() != Token::kStart || xml_.Name() != "worksheet") xml_.Fail("it is no sheet");
    while (!in_data_) {
      const Token token = xml_.Next();
      if (token == Token::kDone) return;
      if (token != Token::kStart) continue;
      in_data_ = xml_.Name() == "sheetData";
      if (!in_data_) xml_.SkipElement();
    }
  }

  void ReadRow() {
    std::size_t number = number_ + 1;
    if (const std::string_view place = xml_.RawAttribute("r"); !place.empty()) {
      const auto read = ReadCount(place);
      if (!read || *read < number) xml_.Fail("the rows are not in their order");
      number = *read;
    }
    if (number > kMostSheetRows) xml_.Fail("there are more rows than a sheet has");
    number_ = number;
    row_.Clear();
    const std::size_t depth = xml_.Depth();
    while (xml_.Depth() >= depth) {
      if (xml_.Next() != Token::kStart) continue;
      if (xml_.Name() == "c") {
        ReadCell();
      } else {
        xml_.SkipElement();
      }
    }
  }

  void ReadCell() {
    std::size_t column = row_.Size();
    std::size_t row = number_;
    if (const std::string_view place = xml_.RawAttribute("r"); !place.empty()) {
      if (!ReadPlace(place, column, row) || row != number_ || column < row_.Size()) {
        xml_.Fail("the cells are not in their order");
      }
      row_.PadTo(column);
    }
    if (column >= kMostSheetColumns) xml_.Fail("there are more columns than a sheet has");
    type_ = xml_.RawAttribute("t");
    NumberFormat format;
    if (const std::string_view style = xml_.RawAttribute("s"); !style.empty()) {
      const auto index = ReadCount(style);
      if (index && *index < parts_.formats.size()) format = parts_.formats[*index];
    }
    ReadContent();
    AddCell(format);
  }

  // Of a cell: the stored value, and whether it is a formula's.
  void ReadContent() {
    value_.clear();
    has_value_ = is_formula_ = false;
    const std::size_t depth = xml_.Depth();
    const bool is_text = type_ == "inlineStr";
    while (xml_.Depth() >= depth) {
      if (xml_.Next() != Token::kStart) continue;
      if (xml_.Name() == "v") {
        AppendElementText(xml_, value_);
        has_value_ = true;
      } else if (xml_.Name() == "is" && is_text) {
        AppendRichText(xml_, value_);
        has_value_ = true;
      } else {
        is_formula_ = is_formula_ || xml_.Name() == "f";
        xml_.SkipElement();
      }
    }
  }

  void AddCell(NumberFormat format) {
    if (value_.empty() && is_formula_ && (!has_value_ || type_.empty() || type_ == "n")) {
      row_.Text() += "#N/A";
      return row_.EndCell({CellKind::kText, kNotCalculatedFault});
    }
    if (type_ == "s" && has_value_) {
      const auto index = ReadCount(value_);
      if (!index || *index >= parts_.strings.Size()) xml_.Fail("a cell has a shared text that is not there");
      return row_.AddCell(parts_.strings[*index]);
    }
    row_.EndCell(AppendValue(format));
  }

  CellForm AppendValue(NumberFormat format) {
    std::string& text = row_.Text();
    if (value_.empty()) return {};
    if (type_.empty() || type_ == "n") return AppendNumber(value_, format, parts_.epoch, text);
    if (type_ == "d") return AppendIsoMoment(value_, text);
    if (type_ == "b") {
      text += value_ == "1" || value_ == "true" ? "true" : "false";
      return {CellKind::kBoolean};
    }
    const std::size_t begin = text.size();
    text += value_;
    if (type_ == "e") return {CellKind::kText, kErrorFault};
    if (type_ == "str") ReplaceEscapes(text, begin);
    return FormOfText(std::string_view(text).substr(begin));
  }

  void StartMerged() {
    const std::vector<MergedCells>& all = parts_.merged;
    for (; next_merged_ < all.size() && all[next_merged_].first_row <= number_; ++next_merged_) {
      const MergedCells& cells = all[next_merged_];
      if (cells.first_row < number_ || row_.IsEmpty(cells.column)) continue;
      if (!merged_.Start(cells, row_.Cells()[cells.column])) xml_.Fail("too many cells are merged");
    }
  }

  Parts parts_;
  std::unique_ptr<ByteSource> source_;
  XmlScanner xml_;
  bool in_data_ = false;
  std::size_t number_ = 0;
  RowBuilder row_;
  std::string type_;
  std::string value_;
  bool has_value_ = false;
  bool is_formula_ = false;
  std::size_t next_merged_ = 0;
  MergedValues merged_;
};

XlsxRows::XlsxRows(std::string label, std::unique_ptr<ByteSource> source, Parts parts,
                   XmlScanner::Fault fault)
    : SheetRows(std::move(label)),
      reader_(std::make_unique<Reader>(std::move(source), std::move(parts), std::move(fault))) {}

XlsxRows::~XlsxRows() = default;

bool XlsxRows::Next(SheetRow& row) { return reader_->Next(row); }

std::vector<std::string> XlsxRows::Remarks() const { return reader_->Remarks(); }

}  // namespace mox
