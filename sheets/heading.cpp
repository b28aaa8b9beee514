#include "sheets/heading.h"

#include <algorithm>

#include "mox/foundation/text.h"

namespace mox {
namespace {

using Meaning = Heading::Meaning;
using Row = std::vector<std::string>;

constexpr std::size_t kMostTitles = 5;
constexpr std::size_t kMostQuoted = 3;

// Columns that are not for data: those of a sheet of faults, and the working columns.
constexpr std::string_view kOwnHeadings[] = {"Redak", "Greška", "V_TEMP", "VALIDACIJA", "ERR_MSG"};

std::size_t Filled(const Row& row) {
  return static_cast<std::size_t>(std::count_if(
      row.begin(), row.end(), [](const std::string& cell) { return !TrimBlanks(cell).empty(); }));
}

bool HasDigit(std::string_view text) { return text.find_first_of("0123456789") != std::string_view::npos; }

// Digits with what stands between those of numbers and dates.
bool IsDigits(std::string_view text) {
  return HasDigit(text) && text.find_first_not_of("0123456789.,-/ ") == std::string_view::npos;
}

bool HasDigits(const Row& row) { return std::any_of(row.begin(), row.end(), HasDigit); }

bool IsFilled(const Row& row, std::size_t column) {
  return column < row.size() && !TrimBlanks(row[column]).empty();
}

// Words alone, above a column of digits alone.
bool LooksForeign(std::span<const Row> rows) {
  const Row& first = rows.front();
  if (rows.size() < 2 || Filled(first) < 2) return false;
  if (HasDigits(first)) return false;
  for (std::size_t column = 0; column < first.size(); ++column) {
    if (TrimBlanks(first[column]).empty()) continue;
    const auto has_other = [&](const Row& row) { return IsFilled(row, column) && !IsDigits(row[column]); };
    const auto is_filled = [&](const Row& row) { return IsFilled(row, column); };
    if (std::any_of(rows.begin() + 1, rows.end(), is_filled) &&
        std::none_of(rows.begin() + 1, rows.end(), has_other)) {
      return true;
    }
  }
  return false;
}

std::string Quote(const Heading& heading, Meaning meaning) {
  std::string quoted;
  std::size_t count = 0;
  for (const Heading::Cell& cell : heading.cells) {
    if (cell.meaning != meaning || ++count > kMostQuoted) continue;
    quoted += (quoted.empty() ? "\"" : ", \"") + cell.text + "\"";
  }
  return count > kMostQuoted ? quoted + " and others" : quoted;
}

}  // namespace

std::size_t Heading::Count(Meaning meaning) const {
  return static_cast<std::size_t>(
      std::count_if(cells.begin(), cells.end(), [&](const Cell& cell) { return cell.meaning == meaning; }));
}

bool Heading::HasTwoOfAColumn() const {
  for (std::size_t i = 0; i < cells.size(); ++i) {
    if (cells[i].meaning != Meaning::kColumn) continue;
    for (std::size_t k = 0; k < i; ++k) {
      if (cells[k].meaning == Meaning::kColumn && cells[k].column == cells[i].column) return true;
    }
  }
  return false;
}

HeadingReader::HeadingReader(std::span<const SheetColumn> columns, const ColumnMap& map) : columns_(columns) {
  for (const MappedHeading& mapped : map) {
    const auto column = std::find_if(columns.begin(), columns.end(),
                                     [&](const SheetColumn& c) { return SameName(c.name, mapped.column); });
    const bool found = column != columns.end();
    known_.push_back({ComparableHeading(mapped.heading), found ? Meaning::kColumn : Meaning::kLeftOut,
                      found ? static_cast<std::size_t>(column - columns.begin()) : 0});
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    known_.push_back({ComparableHeading(columns[i].name), Meaning::kColumn, i});
  }
  for (std::size_t i = 0; i < columns.size(); ++i) {
    known_.push_back({ComparableHeading(columns[i].caption), Meaning::kColumn, i});
  }
  for (const std::string_view own : kOwnHeadings)
    known_.push_back({ComparableHeading(own), Meaning::kLeftOut, 0});
}

Heading HeadingReader::Read(std::span<const std::string> row) const {
  Heading heading;
  for (const std::string& text : row) {
    Heading::Cell& cell = heading.cells.emplace_back();
    cell.text = TrimBlanks(text);
    if (cell.text.empty()) continue;
    const std::string comparable = ComparableHeading(cell.text);
    const auto known =
        std::find_if(known_.begin(), known_.end(), [&](const Known& k) { return k.heading == comparable; });
    cell.meaning = Meaning::kUnknown;
    if (known == known_.end() || comparable.empty()) continue;
    cell.meaning = known->meaning;
    cell.column = known->column;
  }
  return heading;
}

bool HeadingReader::IsHeading(const Heading& heading, bool one_column) const {
  const std::size_t known = heading.Count(Meaning::kColumn);
  const std::size_t unknown = heading.Count(Meaning::kUnknown);
  if (known == 1 && unknown == 0) return one_column;
  return known > 1 && known > unknown;
}

std::optional<std::size_t> HeadingReader::Find(std::span<const Row> rows) const {
  if (rows.empty()) return std::nullopt;
  const bool one_column = columns_.size() == 1 || std::all_of(rows.begin(), rows.end(), [](const Row& row) {
                            return Filled(row) <= 1;
                          });
  for (std::size_t i = 0; i < std::min(rows.size(), kMostTitles + 1); ++i) {
    const Heading heading = Read(rows[i]);
    if (IsHeading(heading, one_column)) return i;
    if (Filled(rows[i]) > 1) break;
  }
  // One word of many cells may well be the same as a heading where others have digits.
  const Heading first = Read(rows.front());
  const std::size_t known = first.Count(Meaning::kColumn);
  const std::size_t unknown = first.Count(Meaning::kUnknown);
  if (known > 1 || (known == 1 && (unknown < 2 || !HasDigits(rows.front())))) {
    const std::string others = unknown > 0 ? Quote(first, Meaning::kUnknown) : "nothing else";
    throw UnclearHeading("the first row may be a heading, for it has " + Quote(first, Meaning::kColumn) +
                         ", and may be none, for it has " + others);
  }
  if (LooksForeign(rows)) {
    throw UnclearHeading("the first row looks like a heading, but " + Quote(first, Meaning::kUnknown) +
                         " are no columns");
  }
  return std::nullopt;
}

std::size_t HeadingReader::FindAnnounced(std::span<const Row> rows) const {
  for (std::size_t i = 0; i < std::min(rows.size(), kMostTitles + 1); ++i) {
    if (Read(rows[i]).Count(Meaning::kColumn) > 0) return i;
    if (Filled(rows[i]) > 1) break;
  }
  return 0;
}

}  // namespace mox
