#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace mox {

/// The bytes of a sheet's file and what messages call it.
struct SheetFile {
  std::string label;
  std::string bytes;
};

/// What the text of a cell is.
enum class CellKind : std::uint8_t {
  kText,     ///< as it stands there; every cell of a text file
  kNumber,   ///< without grouping, with a decimal point
  kDate,     ///< 2024-03-01
  kMoment,   ///< 2024-03-01T09:05:00
  kBoolean,  ///< true or false
};

struct SheetCell {
  std::string_view text;
  CellKind kind = CellKind::kText;
  std::string_view fault = {};  ///< why the cell cannot be taken as it is; none where it can
};

struct SheetRow {
  std::size_t number = 0;  ///< of the row in its sheet, or of the line's row in its text, from 1
  std::span<const SheetCell> cells;
};

/// The rows of a sheet, one after the other.
class SheetRows {
 public:
  explicit SheetRows(std::string label) : label_(std::move(label)) {}
  virtual ~SheetRows() = default;
  SheetRows(const SheetRows&) = delete;
  SheetRows& operator=(const SheetRows&) = delete;
  /// Reads the next row; false at the end. Its cells hold until the next call. Raises Error naming file and
  /// place where the file is damaged.
  virtual bool Next(SheetRow& row) = 0;
  /// What people should know about the file, one a line: how it was read where that was not certain.
  virtual std::vector<std::string> Remarks() const { return {}; }
  /// What messages call the file.
  const std::string& Label() const { return label_; }

 private:
  std::string label_;
};

}  // namespace mox
