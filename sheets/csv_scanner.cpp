#include "sheets/csv_scanner.h"

#include <algorithm>

namespace mox {

CsvScanner::CsvScanner(std::string_view text, char separator) : text_(text), separator_(separator) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (text_.starts_with(kByteOrderMark)) text_.remove_prefix(kByteOrderMark.size());
}

bool CsvScanner::Next(std::vector<CsvCell>& cells) {
  cells.clear();
  unescaped_.clear();
  if (at_ == text_.size()) return false;
  line_ = next_line_;
  do {
    const bool quoted = at_ < text_.size() && text_[at_] == '"';
    const std::size_t cell = cells.size();
    cells.push_back({quoted ? QuotedCell(cell) : UnquotedCell(cell), quoted});
  } while (!EndOfRecord(cells.size() - 1));
  return true;
}

std::string_view CsvScanner::UnquotedCell(std::size_t cell) {
  const std::size_t begin = at_;
  while (at_ < text_.size()) {
    const char c = text_[at_];
    if (c == separator_ || c == '\n' || c == '\r') break;
    if (c == '"') throw CsvFault{cell, "a quote inside an unquoted cell"};
    ++at_;
  }
  return text_.substr(begin, at_ - begin);
}

std::string_view CsvScanner::QuotedCell(std::size_t cell) {
  const std::size_t begin = ++at_;
  std::size_t doubled = 0;
  for (;; ++at_, ++doubled) {
    at_ = text_.find('"', at_);
    if (at_ == std::string_view::npos) {
      at_ = text_.size();
      throw CsvFault{cell, "the quote is not closed"};
    }
    ++at_;
    if (at_ == text_.size() || text_[at_] != '"') break;
  }
  const std::string_view raw = text_.substr(begin, at_ - 1 - begin);
  next_line_ += static_cast<std::size_t>(std::count(raw.begin(), raw.end(), '\n'));
  if (doubled == 0) return raw;
  std::string& text = unescaped_.emplace_back();
  text.reserve(raw.size());
  for (std::size_t i = 0; i < raw.size(); ++i) {
    text += raw[i];
    if (raw[i] == '"') ++i;
  }
  return text;
}

// Steps over the separator or the line break after a cell.
bool CsvScanner::EndOfRecord(std::size_t cell) {
  if (at_ == text_.size()) return true;
  const char c = text_[at_++];
  if (c == separator_) return false;
  if (c == '\r') {
    if (at_ == text_.size() || text_[at_] != '\n') {
      throw CsvFault{cell, "a carriage return that ends no line"};
    }
    ++at_;
  } else if (c != '\n') {
    throw CsvFault{cell, "text after the closing quote"};
  }
  ++next_line_;
  return true;
}

}  // namespace mox
