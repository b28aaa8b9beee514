#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "sheets/sheet_rows.h"
#include "sheets/text_encoding.h"

namespace mox {

struct SheetChoice {
  std::string sheet;  ///< its name, whatever the letter case; empty for the first one that is not hidden
  std::size_t columns = 0;  ///< that are expected, which helps to recognise the separator of a text
  TextEncoding encoding = TextEncoding::kRecognised;  ///< of a text
};

/// The rows of a sheet of any kind: a workbook (.xlsx, .xlsm), a document (.ods) or a text, which are
/// recognised by their bytes; a .csv among texts by the name of the file.
///
/// Raises Error that names the file and says what the user can do: for a file that is damaged, expands to
/// too much, is protected by a password or of another kind, and where the named sheet is not there.
std::unique_ptr<SheetRows> OpenSheet(SheetFile file, const SheetChoice& choice);

}  // namespace mox
