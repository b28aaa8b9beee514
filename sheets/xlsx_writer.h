#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "mox/foundation/app.h"
#include "sheets/sheet_rows.h"

namespace mox {

/// A column of a sheet that is written for people to fill in.
struct WrittenColumn {
  std::string heading;
  CellKind kind = CellKind::kText;
  bool required = false;             ///< its heading is marked with an asterisk and a colour
  std::vector<std::string> choices;  ///< for a drop-down list; others can be entered all the same
};

/// A cell of a written row that is shown in red.
struct FaultyCell {
  std::size_t column = 0;
  bool was_rounded = false;  ///< stays the rounded number that it was, also in a column of texts
};

/// Writes a workbook with one sheet for people: a heading that stays in view, columns of texts formatted as
/// such, so that zeros in front stay, drop-down lists, and rows below it.
class XlsxWriter {
 public:
  /// Texts become numbers, dates and truth values of the locale where they are such, in columns of that kind.
  /// `many_rows` keeps little in memory. Raises Error where no file can be made in the temporary folder.
  XlsxWriter(const std::string& sheet, std::vector<WrittenColumn> columns, LocaleSettings locale,
             bool many_rows = false);
  ~XlsxWriter();

  /// Adds a row. Raises Error where the sheet is full.
  void AddRow(std::span<const std::string_view> cells, std::span<const FaultyCell> faulty = {});
  /// Ends the file and answers its bytes. Its properties carry the mark, plain words that say what it is.
  /// Raises Error where it cannot be written.
  std::string Finish(const std::string& mark = {});

 private:
  class Book;
  std::unique_ptr<Book> book_;
};

/// Whether these are the bytes of a workbook that was finished with that mark and saved by nobody since, so
/// that nothing of a user's is in it.
bool IsAsWritten(std::string_view bytes, std::string_view mark);

}  // namespace mox
