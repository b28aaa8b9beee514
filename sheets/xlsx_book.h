#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "sheets/number_format.h"
#include "sheets/zip_package.h"

namespace mox {

/// A sheet of a workbook and the part that holds its rows.
struct BookSheet {
  std::string name;
  std::string part;
  bool hidden = false;
};

/// What a workbook says about all of its sheets. Parts are named as the package has them, without a slash in
/// front. Sheets of charts are left out.
struct XlsxBook {
  std::vector<BookSheet> sheets;
  std::string shared_strings;         ///< part; empty where there is none
  std::vector<NumberFormat> formats;  ///< by the number of a cell's style
  DateEpoch epoch = DateEpoch::k1900;
};

/// Whether the package is a workbook at all.
bool IsXlsx(const ZipPackage& package);
/// Raises Error naming what is damaged, or that the workbook is of the binary kind.
XlsxBook ReadXlsxBook(const ZipPackage& package);

}  // namespace mox
