#include "sheets/column_map.h"

#include <algorithm>
#include <set>

#include "mox/foundation/error.h"
#include "mox/foundation/text.h"
#include "sheets/csv_scanner.h"
#include "sheets/text_encoding.h"

namespace mox {
namespace {

constexpr std::string_view kHead = "heading,column\n";

struct PlainLetter {
  std::string_view letter;
  char plain;
};

constexpr PlainLetter kPlainLetters[] = {{"č", 'c'}, {"ć", 'c'}, {"đ", 'd'}, {"š", 's'}, {"ž", 'z'}};

std::string Quoted(std::string_view cell) {
  if (cell.find_first_of("\",\r\n") == std::string_view::npos && !cell.empty()) return std::string(cell);
  if (cell.empty()) return {};
  std::string quoted = "\"";
  for (const char c : cell) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return quoted + "\"";
}

const SheetColumn* FindColumn(std::span<const SheetColumn> columns, std::string_view text) {
  const std::string wanted = ComparableHeading(text);
  for (const SheetColumn& column : columns) {
    if (ComparableHeading(column.name) == wanted) return &column;
  }
  for (const SheetColumn& column : columns) {
    if (ComparableHeading(column.caption) == wanted) return &column;
  }
  return nullptr;
}

}  // namespace

std::string ComparableHeading(std::string_view text) {
  const std::string folded = FoldCase(text);
  std::string comparable;
  for (std::size_t at = 0; at < folded.size();) {
    const std::string_view rest = std::string_view(folded).substr(at);
    const auto plain = std::find_if(std::begin(kPlainLetters), std::end(kPlainLetters),
                                    [&](const PlainLetter& row) { return rest.starts_with(row.letter); });
    if (plain != std::end(kPlainLetters)) {
      comparable += plain->plain;
      at += plain->letter.size();
      continue;
    }
    const char c = folded[at++];
    const bool is_sign =
        static_cast<unsigned char>(c) < 0x80 && !(c >= 'a' && c <= 'z') && !(c >= '0' && c <= '9');
    if (!is_sign) comparable += c;
  }
  return comparable;
}

ColumnMap ReadColumnMap(const SheetFile& file, std::span<const SheetColumn> columns) {
  ColumnMap map;
  std::set<std::string> headings;
  std::vector<CsvCell> cells;
  DecodedText decoded;
  try {
    decoded = DecodeText(file.bytes);
  } catch (const Error& error) {
    throw Error(file.label + ":" + error.what());
  }
  CsvScanner scanner(decoded.text);
  const auto fail = [&](const std::string& what) {
    throw Error(file.label + ":" + std::to_string(scanner.line()) + ": " + what);
  };
  const auto next = [&] {
    try {
      return scanner.Next(cells);
    } catch (const CsvFault& fault) {
      fail(fault.reason);
      return false;
    }
  };
  if (!next() || cells.size() != 2 || cells[0].text != "heading" || cells[1].text != "column") {
    fail("a map begins with the line heading,column");
  }
  while (next()) {
    if (cells.size() == 1 && cells[0].text.empty()) continue;
    if (cells.size() != 2) fail("a line has a heading, a comma and a column");
    const std::string heading(cells[0].text);
    if (!headings.insert(ComparableHeading(heading)).second)
      fail("the heading \"" + heading + "\" stands here twice");
    std::string name;
    if (const std::string_view wanted = TrimBlanks(cells[1].text); !wanted.empty()) {
      const SheetColumn* const column = FindColumn(columns, wanted);
      if (column == nullptr) fail("there is no column \"" + std::string(wanted) + "\"");
      name = column->name;
    }
    map.push_back({heading, name});
  }
  return map;
}

std::string WriteColumnMap(const ColumnMap& map) {
  std::string text(kHead);
  for (const MappedHeading& mapped : map) text += Quoted(mapped.heading) + "," + Quoted(mapped.column) + "\n";
  return text;
}

}  // namespace mox
