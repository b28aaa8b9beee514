#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <string_view>
#include <vector>

namespace mox {

/// A cell of a comma-separated file as it stands there, without its quotes.
struct CsvCell {
  std::string_view text;
  bool quoted = false;
};

/// Where and why a file is malformed: the cell is counted from 0 within its record.
struct CsvFault {
  std::size_t cell;
  const char* reason;
};

/// Splits a comma-separated text (RFC 4180), or one with another separator, into records. Lines end with LF
/// or CRLF, the last one also without. A blank line is a record of one unquoted empty cell.
class CsvScanner {
 public:
  /// The text must outlive the scanner. A byte-order mark is skipped.
  explicit CsvScanner(std::string_view text, char separator = ',');

  /// Reads the next record; false at the end. The cells hold until the next call. Throws CsvFault.
  bool Next(std::vector<CsvCell>& cells);

  /// The line of the text at which the record read last starts, from 1.
  std::size_t line() const { return line_; }
  /// Whether nothing but line breaks is left.
  bool OnlyBlankLinesLeft() const { return text_.find_first_not_of("\r\n", at_) == std::string_view::npos; }

 private:
  std::string_view UnquotedCell(std::size_t cell);
  std::string_view QuotedCell(std::size_t cell);
  bool EndOfRecord(std::size_t cell);

  std::string_view text_;
  char separator_;
  std::size_t at_ = 0;
  std::size_t line_ = 0;
  std::size_t next_line_ = 1;
  std::deque<std::string> unescaped_;  // cells of the current record that hold quotes
};

}  // namespace mox
