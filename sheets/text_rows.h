#pragma once

#include <memory>
#include <string>

#include "sheets/sheet_rows.h"
#include "sheets/text_encoding.h"

namespace mox {

enum class TextForm {
  kTabs,  ///< as copied from a spreadsheet: a tab between cells, quotes are text
  kCsv,   ///< RFC 4180, with commas, semicolons or tabs
};

/// The form that the name of a text file stands for.
TextForm TextFormOf(const std::string& path);

/// The rows of a text file; a row of the file that is blank is one empty cell. The encoding is recognised
/// where none is given. A comma-separated text has that separator which gives its first row as many cells as
/// there are `columns`, else the one that gives it the most; `sep=;` in its first line says it outright.
///
/// Raises Error naming file and line where the bytes are no text or, when its row is read, a quote is not
/// closed or stands inside a cell.
std::unique_ptr<SheetRows> OpenTextRows(const SheetFile& file, TextForm form, std::size_t columns,
                                        TextEncoding encoding = TextEncoding::kRecognised);

}  // namespace mox
