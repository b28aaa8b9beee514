// A damaged text is refused with its place; any other is read, and what is written of it is read again as the
// same.

#include "mox/server/param_list.h"

#include <string>

#include "fuzz/fuzz_target.h"
#include "mox/foundation/error.h"

namespace mox {
namespace {

// Reads each item as every sort of value; those of another kind refuse.
void ReadEveryWay(TAstaParamList& list) {
  const auto read = [](auto reading) {
    try {
      reading();
    } catch (const Error&) {
    }
  };
  for (std::size_t i = 0; i < list.Count(); ++i) {
    TAstaParam& item = list[i];
    Require(list.FindParam(item.Name()) != nullptr, "an item is found by its name");
    read([&] { static_cast<void>(item.AsString()); });
    read([&] { static_cast<void>(item.AsCurrency()); });
    read([&] { static_cast<void>(item.AsDateTime()); });
    read([&] { static_cast<void>(item.AsDataSet().RecordCount()); });
    read([&] { ReadEveryWay(item.AsParamList()); });
  }
}

void CheckParamList(std::string_view text) {
  TAstaParamList list;
  try {
    list = TAstaParamList::FromTokenizedString(text);
  } catch (const FormatError& error) {
    Require(error.offset() <= text.size(), "the place of the damage is in the text");
    return;
  }
  const std::string written = list.AsTokenizedString(false);
  TAstaParamList again = TAstaParamList::FromTokenizedString(written);
  Require(again.Count() == list.Count() && again.AsTokenizedString(false) == written,
          "what was written is read as the same");
  Require(list.AsTokenizedString(true).find('\n') == std::string::npos, "the text for a log is one line");
  ReadEveryWay(list);
}

}  // namespace
}  // namespace mox

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  mox::CheckParamList(mox::TextOf(data, size));
  return 0;
}
