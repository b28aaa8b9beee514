// The bytes of a file of any kind are refused with a message that names the file, or give rows within the
// bounds of a sheet.

#include "fuzz/sheet_rows.h"
#include "sheets/open_sheet.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mox::ReadAllRows([&] {
    return mox::OpenSheet({"sheet.csv", std::string(mox::TextOf(data, size))}, {.sheet = "", .columns = 3});
  });
  return 0;
}
