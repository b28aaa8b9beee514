#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "mox/foundation/error.h"
#include "sheets/column_map.h"

namespace mox {

/// Whether the first row is a heading.
enum class HeadingMode : std::uint8_t { kRecognised, kPresent, kAbsent };

/// It cannot be told whether a row is a heading; the user must say it.
class UnclearHeading : public Error {
 public:
  using Error::Error;
};

/// The row of a heading, and what its cells are.
struct Heading {
  enum class Meaning : std::uint8_t {
    kColumn,   ///< the heading of a column
    kLeftOut,  ///< the map leaves it out, or it is of the sheet of faults: number and fault of a row
    kUnknown,
    kNone,  ///< an empty cell
  };
  struct Cell {
    std::string text;
    Meaning meaning = Meaning::kNone;
    std::size_t column = 0;  ///< among the columns
  };
  std::vector<Cell> cells;

  std::size_t Count(Meaning meaning) const;
  bool HasTwoOfAColumn() const;
};

/// Knows the headings of the columns: their names and captions, and what a map says. A heading is compared by
/// ComparableHeading, so a mark behind it does not matter.
class HeadingReader {
 public:
  /// Both must outlive the reader.
  HeadingReader(std::span<const SheetColumn> columns, const ColumnMap& map);

  Heading Read(std::span<const std::string> row) const;

  /// Which of the first rows is the heading; none where they are data. More than one cell must be known, and
  /// more than half of those that are filled; or all of them in a sheet of one column. Rows before it have at
  /// most one filled cell: titles.
  ///
  /// Raises UnclearHeading where the first row has known headings beside others; where it has words alone,
  /// most of them such as columns are called by, or one above a column of digits or of codes.
  std::optional<std::size_t> Find(std::span<const std::vector<std::string>> rows) const;
  /// Which of them is the heading where there is one: the first below titles that has a known heading, else
  /// the first of all.
  std::size_t FindAnnounced(std::span<const std::vector<std::string>> rows) const;

 private:
  struct Known {
    std::string heading;
    Heading::Meaning meaning;
    std::size_t column;
  };

  bool IsHeading(const Heading& heading, bool one_column) const;

  std::span<const SheetColumn> columns_;
  std::vector<Known> known_;  // the first one counts
};

}  // namespace mox
