#pragma once

#include <memory>
#include <string>
#include <vector>

#include "sheets/byte_source.h"
#include "sheets/sheet_rows.h"
#include "sheets/xml_scanner.h"

namespace mox {

struct OdsSheet {
  std::string name;
  bool hidden = false;
};

/// The sheets of a document, in their order.
std::vector<OdsSheet> ReadOdsSheets(ByteSource& content, const XmlScanner::Fault& fault);

/// The rows of a sheet of a document, counted from 0, without those that are empty. Each row of merged cells
/// has their value, in their first column; what they cover is left out, as are remarks on cells.
class OdsRows : public SheetRows {
 public:
  OdsRows(std::string label, std::unique_ptr<ByteSource> content, std::size_t sheet, XmlScanner::Fault fault);
  ~OdsRows() override;

  bool Next(SheetRow& row) override;
  std::vector<std::string> Remarks() const override;

 private:
  class Reader;
  std::unique_ptr<Reader> reader_;
};

}  // namespace mox
