#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sheets/byte_source.h"
#include "sheets/merged_values.h"
#include "sheets/sheet_rows.h"
#include "sheets/xlsx_book.h"
#include "sheets/xml_scanner.h"
#include "sheets/zip_package.h"

namespace mox {

/// The texts that the sheets of a workbook share, in their order.
class SharedStrings {
 public:
  /// None; a workbook without such a part.
  SharedStrings() = default;
  /// Reads the part. Rich text is its letters alone, and how they are pronounced is left out.
  SharedStrings(ByteSource& source, const XmlScanner::Fault& fault);

  std::size_t Size() const { return ends_.size(); }
  std::string_view operator[](std::size_t index) const;

 private:
  std::string text_;
  std::vector<std::size_t> ends_;
};

/// The merged cells of a sheet that go over several rows, in the order of their first rows.
std::vector<MergedCells> ReadMergedCells(ByteSource& source, const XmlScanner::Fault& fault);

/// The rows of a sheet of a workbook, without those that are empty. Each row of merged cells has their value,
/// in their first column.
class XlsxRows : public SheetRows {
 public:
  struct Parts {
    SharedStrings strings;
    std::vector<MergedCells> merged;
    std::vector<NumberFormat> formats;
    DateEpoch epoch = DateEpoch::k1900;
  };
  XlsxRows(std::string label, std::unique_ptr<ByteSource> source, Parts parts, XmlScanner::Fault fault);
  ~XlsxRows() override;

  bool Next(SheetRow& row) override;
  std::vector<std::string> Remarks() const override;

 private:
  class Reader;
  std::unique_ptr<Reader> reader_;
};

/// "BC12" as column 54 and row 12. False where it is no such place of a sheet; the row may be missing.
bool ReadPlace(std::string_view place, std::size_t& column, std::size_t& row);

}  // namespace mox
