// A damaged text is refused with its place and leaves the set as it was; any other is read, and what is
// written of it is read again as the same.

#include "mox/foundation/record_set.h"

#include <string>

#include "fuzz/fuzz_target.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

void CheckRecordSet(std::string_view text) {
  RecordSet set("before");
  set.DefineField("sifra", FieldKind::kText, 20);
  set.Open();
  set.AppendRecord({std::string("100214")});
  const std::string before = set.SaveToString();
  try {
    set.LoadFromString(text);
  } catch (const FormatError& error) {
    Require(error.offset() <= text.size(), "the place of the damage is in the text");
    Require(set.SaveToString() == before, "a set that is not read stays as it was");
    return;
  }
  if (!set.IsActive()) return Require(set.FieldCount() == 0, "only a set without fields is closed");
  std::size_t records = 0;
  for (set.First(); !set.Eof(); set.Next()) {
    for (std::size_t i = 0; i < set.FieldCount(); ++i) static_cast<void>(set.AsText(i));
    ++records;
  }
  Require(records == set.RecordCount(), "a walk visits every record");
  const std::string written = set.SaveToString();
  RecordSet again;
  again.LoadFromString(written);
  Require(again.SaveToString() == written, "what was written is read as the same");
}

}  // namespace
}  // namespace mox

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mox::CheckRecordSet(mox::TextOf(data, size));
  return 0;
}
