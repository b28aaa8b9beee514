#pragma once

#include <memory>
#include <string>

#include "fuzz/fuzz_target.h"
#include "mox/foundation/error.h"
#include "sheets/sheet_rows.h"

namespace mox {

/// Reads the rows of what `open` gives, or sees that the message of its error names the file; not more than
/// some thousand, so that a small input with many repeated rows takes no time.
template <typename Open>
void ReadAllRows(Open open) {
  constexpr std::size_t kMostRows = 3000;
  try {
    const std::unique_ptr<SheetRows> rows = open();
    std::size_t last = 0;
    std::size_t letters = 0;
    SheetRow row;
    for (std::size_t i = 0; i < kMostRows && rows->Next(row); ++i) {
      Require(row.number > last, "the rows are in their order");
      for (const SheetCell& cell : row.cells) {
        for (const char c : cell.text) letters += static_cast<unsigned char>(c);
      }
      last = row.number;
    }
    volatile std::size_t read = letters;  // so that the texts are
    static_cast<void>(read);
    static_cast<void>(rows->Remarks());
  } catch (const Error& error) {
    Require(std::string(error.what()).starts_with("sheet"), "the message names the file");
  }
}

}  // namespace mox
