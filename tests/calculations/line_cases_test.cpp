#include <gtest/gtest.h>

#include <map>
#include <sstream>

#include "mox/calculations/customs.h"
#include "mox/calculations/document_lines.h"
#include "mox/calculations/line_formulas.h"
#include "mox/calculations/line_function_list.h"
#include "mox/calculations/receipt_costing.h"
#include "tests/calculations/line_table.h"

// Runs the tables of the folder cases/, one test a section. A section begins with the functions that its rows
// hold for: "= NAME NAME", or "= NAME:PRICE=pc,AMOUNT=pci" where the rows have PRICE and AMOUNT in place of
// fields that differ; "[edit]" and "[browse]" before the names run the rows only in that way.

namespace mox {
namespace {

const LineFunction& Function(const std::string& name) {
#define MOX_ENTRY(function, ...) {#function, LineFunction(#function, function)},
  static const std::map<std::string, LineFunction> functions = {
      MOX_LINE_FORMULAS(MOX_ENTRY) MOX_COSTING_FUNCTIONS(MOX_ENTRY) MOX_DOCUMENT_CALCULATORS(MOX_ENTRY)
          MOX_CUSTOMS_FUNCTIONS(MOX_ENTRY)};
#undef MOX_ENTRY
  return functions.at(name);
}

class LineCases : public testing::TestWithParam<Section> {};

TEST_P(LineCases, Hold) {
  SCOPED_TRACE(GetParam().file + ": " + GetParam().title);
  std::istringstream words(GetParam().title);
  std::string way;
  for (std::string word; words >> word;) {
    if (word.front() == '[') {
      way = word;
      continue;
    }
    std::istringstream parts(word);
    std::string name;
    std::getline(parts, name, ':');
    std::string rows = GetParam().rows;
    for (std::string field; std::getline(parts, field, ',');) {
      const std::size_t equals = field.find('=');
      rows = With(rows, field.substr(0, equals), field.substr(equals + 1));
    }
    if (way.empty()) {
      ExpectRows({Function(name)}, rows);
    } else {
      ExpectRowsIn(way == "[edit]" ? Way::kEdit : Way::kBrowse, Function(name), rows);
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Tables, LineCases,
                         testing::ValuesIn(ReadSections({"line_formulas", "document_lines", "receipt_costing",
                                                         "customs"})),
                         NameOfSection);

}  // namespace
}  // namespace mox
