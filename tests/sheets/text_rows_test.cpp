#include "sheets/text_rows.h"

#include "tests/foundation/case_file.h"
#include "tests/sheets/shown_rows.h"

namespace mox {
namespace {

std::string Shown(const DecodedText& decoded) { return std::string(decoded.encoding) + ": " + decoded.text; }

TEST(TextRows, Tables) {
  ExpectTables("texts",
               {{"encoding", [](auto& row) { return Shown(DecodeText(row.at(0))); }},
                {"named", [](auto& row) { return Shown(DecodeText(row.at(1), *EncodingNamed(row.at(0)))); }},
                {"csv",
                 [](auto& row) {
                   const auto columns = static_cast<std::size_t>(std::stoi(row.at(0)));
                   return ShownRows(*OpenTextRows({"f.csv", row.at(1)}, TextFormOf("f.csv"), columns));
                 }},
                {"tabs",
                 [](auto& row) {
                   return ShownRows(*OpenTextRows({"f.TSV", row.at(1)}, TextFormOf("f.TSV"), 2));
                 }}},
               "sheets");
}

}  // namespace
}  // namespace mox
