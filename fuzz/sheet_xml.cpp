// The XML of a workbook's or a document's sheet, as it comes out of its zip file; the first byte says what it
// is taken for.

#include "fuzz/sheet_rows.h"
#include "sheets/ods_rows.h"
#include "sheets/xlsx_rows.h"

namespace mox {
namespace {

[[noreturn]] void Fail(const std::string& what) { throw Error("sheet: " + what); }

std::unique_ptr<SheetRows> Open(char kind, std::string_view text) {
  auto source = std::make_unique<MemorySource>(text);
  if (kind == 'o') {
    const auto sheets = ReadOdsSheets(*source, Fail);
    return std::make_unique<OdsRows>("sheet", std::make_unique<MemorySource>(text),
                                     sheets.empty() ? 0 : sheets.size() - 1, Fail);
  }
  XlsxRows::Parts parts;
  if (kind == 's') parts.strings = SharedStrings(*source, Fail);
  if (kind == 'm') parts.merged = ReadMergedCells(*source, Fail);
  for (int id = 0; id < 60; ++id) parts.formats.push_back(BuiltInNumberFormat(id));
  if (kind == '4') parts.epoch = DateEpoch::k1904;
  for (std::size_t i = 0; i < parts.strings.Size(); ++i) static_cast<void>(parts.strings[i].size());
  return std::make_unique<XlsxRows>("sheet", std::make_unique<MemorySource>(text), std::move(parts), Fail);
}

}  // namespace
}  // namespace mox

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  mox::ReadAllRows([&] { return mox::Open(static_cast<char>(data[0]), mox::TextOf(data + 1, size - 1)); });
  return 0;
}
